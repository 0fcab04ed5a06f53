// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/leftToRightEntry.hh"

namespace lui {

LeftToRightEntry::LeftToRightEntry()
{
   set_direction(Gtk::TEXT_DIR_LTR);
}

// Digits and punctuation alone have no direction; GTK then takes that of the keyboard's language,
// which would turn the parts of an address around.
void LeftToRightEntry::KeepLeftToRight()
{
   get_layout();
   get_pango_context()->set_base_dir(Pango::DIRECTION_LTR);
}

bool LeftToRightEntry::on_key_press_event(GdkEventKey* event)
{
   KeepLeftToRight();
   return Gtk::Entry::on_key_press_event(event);
}

bool LeftToRightEntry::on_button_press_event(GdkEventButton* event)
{
   KeepLeftToRight();
   return Gtk::Entry::on_button_press_event(event);
}

bool LeftToRightEntry::on_draw(Cairo::RefPtr<Cairo::Context> const& context)
{
   KeepLeftToRight();
   return Gtk::Entry::on_draw(context);
}

} // namespace lui
