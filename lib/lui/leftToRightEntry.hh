// SPDX-License-Identifier: GPL-2.0-or-later
// An entry for numbers and addresses.
#pragma once

#include <gtkmm/entry.h>

namespace lui {

// Reads from left to right in every language and with every keyboard.
class LeftToRightEntry : public Gtk::Entry {
public:
   LeftToRightEntry();

protected:
   bool on_key_press_event(GdkEventKey* event) override;
   bool on_button_press_event(GdkEventButton* event) override;
   bool on_draw(Cairo::RefPtr<Cairo::Context> const& context) override;

   // For whoever changes the text.
   void KeepLeftToRight();
};

} // namespace lui
