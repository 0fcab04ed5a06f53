// SPDX-License-Identifier: GPL-2.0-or-later
// A page of the help in a window of ours, for a desktop without a viewer.
#pragma once

#include "lui/dlgChoice.hh"
#include "lui/helpPage.hh"

#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>

namespace lui {

class HelpDlg : public DlgChoice {
public:
   explicit HelpDlg(HelpPage const& page);

   void SetDefaultSize() override;

   // Shows the page over the manager's window. A page that the manager shows already comes to the
   // front.
   static void Open(DlgMgr& mgr, std::string const& file, HelpPage const& page);

private:
   void AddTags();
   void AddBlock(HelpPage::Block const& block);

   Gtk::ScrolledWindow scroller;
   Gtk::TextView view;
   std::string file;
};

} // namespace lui
