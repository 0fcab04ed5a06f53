// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/manageableDlg.hh"

namespace lui {

void ManageableDlg::Hide()
{
   GetWindow().hide();
}

void ManageableDlg::Show()
{
   if (auto* const mgr = dynamic_cast<DlgMgr*>(GetOwner())) {
      mgr->DisplayWindow(GetWindow(), nullptr, isModal);
   } else {
      GetWindow().show();
      GetWindow().present(gtk_get_current_event_time());
   }
}

void ManageableDlg::Disable()
{
   if (!isEnabled) {
      return;
   }
   isEnabled = false;
   focusBefore = GetWindow().get_focus();
   if (Gtk::Widget* const content = GetWindow().get_child()) {
      content->set_sensitive(false);
   }
}

void ManageableDlg::Reenable()
{
   if (isEnabled) {
      return;
   }
   isEnabled = true;
   if (Gtk::Widget* const content = GetWindow().get_child()) {
      content->set_sensitive(true);
   }
   if (focusBefore && focusBefore->get_toplevel() == &GetWindow()) {
      focusBefore->grab_focus();
   }
   focusBefore = nullptr;
}

bool ManageableDlg::IsEnabled() const
{
   return isEnabled;
}

void ManageableDlg::OnClicked(unsigned int)
{
   Reply();
}

} // namespace lui
