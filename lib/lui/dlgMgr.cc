// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/dlgMgr.hh"

#include "lui/messageDlgs.hh"

#include <atkmm/object.h>
#include <gtkmm/window.h>

namespace lui {

namespace {

void MakeDialog(Gtk::Window& window)
{
   if (!window.get_realized()) {
      window.set_type_hint(Gdk::WINDOW_TYPE_HINT_DIALOG);
   }
   auto const accessible = window.get_accessible();
   if (accessible->get_role() == Atk::ROLE_FRAME) {
      accessible->set_role(Atk::ROLE_DIALOG);
   }
}

} // namespace

DlgMgr::~DlgMgr()
{
   Shutdown();
}

template <typename Interface>
Interface* DlgMgr::Adopt(Interface* dlg)
{
   Own(dlg);
   return dlg;
}

cui::DlgInfo* DlgMgr::NewInfo(utf::string const& text, utf::string const& second)
{
   return Adopt(new InfoDlg(text, second));
}

cui::DlgWarning* DlgMgr::NewWarning(utf::string const& text, utf::string const& second)
{
   return Adopt(new WarningDlg(text, second));
}

cui::DlgError* DlgMgr::NewError(utf::string const& text, utf::string const& second, bool isModal)
{
   return Adopt(new ErrorDlg(text, second, isModal));
}

cui::DlgHint* DlgMgr::NewHint(utf::string const& text, utf::string const& second, bool isModal)
{
   return Adopt(new HintDlg(text, second, isModal));
}

cui::DlgQuestion* DlgMgr::NewQuestion(utf::string const& text,
                                      std::vector<utf::string> const& buttons, int dismissChoice,
                                      int defaultChoice, utf::string const& second,
                                      cui::severity::Level level, bool isModal)
{
   return Adopt(
      new QuestionDlg({text, second, level, isModal}, {buttons, dismissChoice, defaultChoice}));
}

cui::DlgSQuestion* DlgMgr::NewSQuestion(utf::string const& text,
                                        std::vector<utf::string> const& buttons, int dismissChoice,
                                        int defaultChoice, utf::string const& second, bool isModal)
{
   return Adopt(new SQuestionDlg({text, second, cui::severity::INFO, isModal},
                                 {buttons, dismissChoice, defaultChoice}));
}

Gtk::Window* DlgMgr::GetParent()
{
   return nullptr;
}

void DlgMgr::DisplayWindow(Gtk::Window& window, Gtk::Widget* focus, bool isModal)
{
   Gtk::Window* const parent = GetParent();
   if (parent && parent != &window) {
      MakeDialog(window);
      window.set_transient_for(*parent);
      window.set_position(Gtk::WIN_POS_CENTER_ON_PARENT);
   }
   window.set_modal(isModal);
   if (focus) {
      focus->grab_focus();
   }
   // A window that is being shown gets the keyboard from the window manager; where there is none,
   // from the second call.
   window.show();
   window.present(gtk_get_current_event_time());
}

void DlgMgr::AddManagedDlg(ManageableDlg* dlg)
{
   if (!Own(dlg)) {
      Present(dlg);
      return;
   }
   dlg->SetDefaultSize();
   dlg->Show();
}

void DlgMgr::Present(ManageableDlg* dlg) const
{
   if (!Owns(dlg)) {
      return;
   }
   if (dlg->GetWindow().get_visible()) {
      dlg->GetWindow().present(gtk_get_current_event_time());
   } else {
      dlg->Show();
   }
}

} // namespace lui
