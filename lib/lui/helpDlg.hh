// SPDX-License-Identifier: GPL-2.0-or-later
// The pages of the help in a window of ours, for a desktop without a viewer.
#pragma once

#include "lui/dlgChoice.hh"
#include "lui/helpView.hh"

#include <array>
#include <gtkmm/scrolledwindow.h>
#include <string>
#include <vector>

namespace lui {

// Links lead on in the same window, Back and Alt+Left lead back. A page that can't be read is told
// in an error over the window, which stays where it is.
class HelpDlg : public DlgChoice {
public:
   // The page is what the file holds.
   HelpDlg(std::string const& file, HelpPage const& page);

   void SetDefaultSize() override;
   // The page that leads to all others.
   void ShowHelp() override;
   bool on_key_press_event(GdkEventKey* event) override;

   // Shows the page over the manager's window. One that the manager shows already comes to the
   // front.
   static void Open(DlgMgr& mgr, std::string const& file, HelpPage const& page);

   // Tells in an error dialog why a page can't be read.
   static void TellWhy(cui::DlgMgr& mgr, HelpPage const& page);

private:
   struct Place {
      std::string file;
      int cursor;
   };

   RepliedAction OnReplied();
   void OnLinkFollowed(std::string const& target);
   // False if the page can't be read.
   bool ShowFile(std::string const& newFile);
   HelpView& GetView() { return views.at(shown); }
   void ShowPage(std::string const& newFile, HelpPage const& page);
   void GoTo(std::string const& newFile);
   void GoBack();

   Gtk::ScrolledWindow scroller;
   // Two in turn: a screen reader reads a page because another text has got the focus, and not
   // because the text has changed.
   std::array<HelpView, 2> views;
   std::size_t shown = 0;
   std::string file;
   std::vector<Place> history;
};

} // namespace lui
