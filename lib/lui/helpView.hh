// SPDX-License-Identifier: GPL-2.0-or-later
// Shows a page of the help as one text that can be read with the cursor keys, selected and copied.
#pragma once

#include "lui/helpPage.hh"

#include <gtkmm/textview.h>

namespace lui {

// A link is followed by a click, or by Enter or Space when the cursor is in it. Tab goes to the
// next link, and from the last one on to the next widget.
class HelpView : public Gtk::TextView {
public:
   // Emitted when the user follows a link, with its target.
   sigc::signal<void, std::string const&> linkFollowed;

   HelpView();

   // In place of an earlier page.
   void ShowPage(HelpPage const& page);
   // Where the cursor is, in characters from the start; a place that isn't there is the end.
   int GetPlace();
   void SetPlace(int place);

protected:
   bool on_key_press_event(GdkEventKey* event) override;
   bool on_motion_notify_event(GdkEventMotion* event) override;
   void on_style_updated() override;

private:
   struct Link {
      int begin; // in characters
      int end;   // behind the last one
      std::string target;
   };

   void AddTags();
   void AddBlock(Gtk::TextBuffer& buffer, HelpPage::Block const& block);
   void AddRun(Gtk::TextBuffer& buffer, HelpPage::Run const& run, Glib::ustring const& blockTag);
   Link const* FindLink(int place) const;
   Link const* FindLinkAt(double x, double y);
   bool MoveToLink(bool isForward);
   bool Follow(Link const* link);
   void OnEventAfter(GdkEvent* event);

   std::vector<Link> links;
};

} // namespace lui
