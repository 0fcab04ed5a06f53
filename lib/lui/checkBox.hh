// SPDX-License-Identifier: GPL-2.0-or-later
// A check button with what belongs to it below.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/checkbutton.h>

namespace lui {

// Follows the button: while it is off, what stands below is insensitive.
class CheckBox : public Gtk::VBox {
public:
   // The button must live as long as the box is in use, and isn't owned.
   explicit CheckBox(Gtk::CheckButton& button);

   // Places a widget below the button, a little indented, with beside (may be null) at the end of
   // its row.
   void AddChild(Gtk::Widget& child, Gtk::Widget* beside);

private:
   void OnToggled();

   Gtk::CheckButton& button;
   Gtk::VBox children;
};

} // namespace lui
