// SPDX-License-Identifier: GPL-2.0-or-later
// A group of controls under a title in bold.
#pragma once

#include <gtkmm/box.h>
#include <gtkmm/label.h>

namespace lui {

// Gtk::Box::pack_start adds further rows below the group.
class Frame : public Gtk::VBox {
public:
   explicit Frame(Glib::ustring const& title);

   // Plain text; an underscore marks the mnemonic, two stand for one. Also the group's name for a
   // screen reader.
   void SetTitle(Glib::ustring const& title);
   // Places the child under the title, a little indented, in place of an earlier one.
   void Add(Gtk::Widget& child);
   // The title's mnemonic activates that widget.
   void SetMnemonicWidget(Gtk::Widget& widget);

private:
   Gtk::HBox content;
   Gtk::Label titleLabel;
};

} // namespace lui
