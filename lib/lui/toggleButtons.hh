// SPDX-License-Identifier: GPL-2.0-or-later
// Check and radio buttons with what belongs to them.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/radiobutton.h>

namespace lui {

class CheckBox;

namespace Utils {

// Gives the button its mnemonic label, shows it and packs it into box. description is a line of
// explanation below it, tooltip one that shows on hovering; both may be empty. isActive is its
// state. The result, owned by box, takes what belongs to the button and follows it.
CheckBox* BuildCheckButton(Gtk::CheckButton& button, Gtk::Box& box, Glib::ustring const& label,
                           Glib::ustring const& description, Gtk::PackOptions options,
                           bool isActive, Glib::ustring const& tooltip);

// Gives the button its mnemonic label, joins it to the group, whose first button is the active one,
// shows it and packs it into box. description is a line of explanation beneath it, also for a
// screen reader; it may be empty.
void BuildRadioButton(Gtk::RadioButton& button, Gtk::RadioButtonGroup& group, Gtk::Box& box,
                      Glib::ustring const& label, Glib::ustring const& description,
                      Gtk::PackOptions options);

// The same with a widget beneath it, which is insensitive while another button of the group is
// active. Null for none.
void BuildRadioButton(Gtk::RadioButton& button, Gtk::RadioButtonGroup& group, Gtk::Box& box,
                      Glib::ustring const& label, Gtk::Widget* widget, Gtk::PackOptions options);

// Gives the button another mnemonic label. What GTK itself offers makes a new widget for it, and
// lays the window out anew though the text be the same.
void ChangeLabel(Gtk::CheckButton& button, Glib::ustring const& label);

} // namespace Utils
} // namespace lui
