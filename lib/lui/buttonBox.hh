// SPDX-License-Identifier: GPL-2.0-or-later
// A row of buttons of one width.
#pragma once

#include <gtkmm/alignment.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>

namespace lui {

class ButtonBox : public Gtk::Alignment {
public:
   // At the start or the end of the room that it's given.
   explicit ButtonBox(Gtk::Align side);

   // Adds a button behind those that are there, and shows it. The box doesn't own it unless it is
   // Gtk::manage'd.
   void Append(Gtk::Button& button);
   void Remove(Gtk::Button& button);

private:
   Gtk::HBox row;
};

} // namespace lui
