// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpDlg.hh"

#include "cui/format.hh"
#include "cui/localString.hh"
#include "cui/messageDlgs.hh"
#include "lui/button.hh"
#include "lui/helpFiles.hh"

#include <gdk/gdkkeysyms.h>

namespace lui {

namespace {

constexpr unsigned int BORDER = 12;

enum Choice { BACK = 0, CONTENTS = 1, CLOSE_BUTTON = 2 };

// Back and Contents stand at the row's start.
constexpr int AT_START = 2;

std::vector<Gtk::Button*> MakeButtons()
{
   return {
      Gtk::manage(new Button(cui::GetLocalString("@&!*@*@(button.lui.help.back)_Back"))),
      Gtk::manage(new Button(cui::GetLocalString("@&!*@*@(button.lui.help.contents)_Contents"))),
      Gtk::manage(new Button(cui::GetLocalString("@&!*@*@(button.lui.dialog.close)Close")))};
}

} // namespace

HelpDlg::HelpDlg(std::string const& newFile, HelpPage const& page)
{
   scroller.set_policy(Gtk::POLICY_NEVER, Gtk::POLICY_AUTOMATIC);
   scroller.set_shadow_type(Gtk::SHADOW_IN);
   scroller.set_can_focus(false);
   for (HelpView& view : views) {
      view.show();
      view.linkFollowed.connect(sigc::mem_fun(*this, &HelpDlg::OnLinkFollowed));
   }
   SetContent(scroller, BORDER);
   PlaceButtons(MakeButtons(), CLOSE_BUTTON, CLOSE_BUTTON, AT_START);
   SetResponseSensitive(BACK, false);
   replied.connect(sigc::mem_fun(*this, &HelpDlg::OnReplied));
   ShowPage(newFile, page);
}

void HelpDlg::SetDefaultSize()
{
   set_default_size(640, 600);
}

void HelpDlg::ShowHelp()
{
   GoTo(FindHelpContents(file));
}

bool HelpDlg::on_key_press_event(GdkEventKey* event)
{
   if (event->keyval == GDK_KEY_Left &&
       (event->state & gtk_accelerator_get_default_mod_mask()) == GDK_MOD1_MASK) {
      GoBack();
      return true;
   }
   return DlgChoice::on_key_press_event(event);
}

cui::Dlg::RepliedAction HelpDlg::OnReplied()
{
   switch (GetChoice()) {
   case BACK:
      GoBack();
      return KEEP_OPEN;
   case CONTENTS:
      ShowHelp();
      return KEEP_OPEN;
   default:
      return CLOSE;
   }
}

void HelpDlg::OnLinkFollowed(std::string const& target)
{
   GoTo(FindLinkedPage(file, target));
}

void HelpDlg::GoTo(std::string const& newFile)
{
   GetView().grab_focus();
   Place const left = {file, GetView().GetPlace()};
   if (newFile != file && ShowFile(newFile)) {
      history.push_back(left);
      SetResponseSensitive(BACK, true);
   }
}

void HelpDlg::GoBack()
{
   // A button that goes insensitive would lose the keyboard.
   GetView().grab_focus();
   if (history.empty()) {
      return;
   }
   Place const last = history.back();
   history.pop_back();
   SetResponseSensitive(BACK, !history.empty());
   if (ShowFile(last.file)) {
      GetView().SetPlace(last.cursor);
   }
}

bool HelpDlg::ShowFile(std::string const& newFile)
{
   HelpPage const page = ReadHelpPage(newFile);
   if (!page.error.empty()) {
      TellWhy(*this, page);
      return false;
   }
   ShowPage(newFile, page);
   return true;
}

void HelpDlg::ShowPage(std::string const& newFile, HelpPage const& page)
{
   file = newFile;
   // Unlike the window that the page is about.
   set_title(cui::Format(cui::GetLocalString("@&!*@*@(msg.lui.help.title)Help: %s").c_str(),
                         page.title.c_str()));
   scroller.remove();
   shown = 1 - shown;
   GetView().ShowPage(page);
   scroller.add(GetView());
   GetView().grab_focus();
}

void HelpDlg::Open(DlgMgr& mgr, std::string const& file, HelpPage const& page)
{
   for (cui::Dlg* const open : mgr.GetDlgs()) {
      auto* const help = dynamic_cast<HelpDlg*>(open);
      if (help && help->file == file) {
         mgr.Present(help);
         return;
      }
   }
   mgr.AddManagedDlg(new HelpDlg(file, page));
}

void HelpDlg::TellWhy(cui::DlgMgr& mgr, HelpPage const& page)
{
   utf::string const text =
      cui::GetLocalString("@&!*@*@(msg.lui.help.unreadable)The help page can't be read: %s");
   mgr.NewError(cui::Format(text.c_str(), page.error.c_str()), "", true)->Show();
}

} // namespace lui
