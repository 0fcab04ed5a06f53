// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/checkBox.hh"

namespace lui {

namespace {

constexpr int SPACING = 6;
// Below a check button's label.
constexpr int INDENT = 24;

} // namespace

CheckBox::CheckBox(Gtk::CheckButton& owner) : button(owner)
{
   children.set_spacing(SPACING);
   children.set_margin_top(SPACING);
   children.set_margin_start(INDENT);
   pack_start(button, Gtk::PACK_SHRINK);
   pack_start(children, Gtk::PACK_EXPAND_WIDGET);
   button.show();
   button.signal_toggled().connect(sigc::mem_fun(*this, &CheckBox::OnToggled));
   OnToggled();
}

void CheckBox::AddChild(Gtk::Widget& child, Gtk::Widget* beside)
{
   Gtk::HBox& row = *Gtk::manage(new Gtk::HBox);
   row.set_spacing(SPACING);
   row.pack_start(child, Gtk::PACK_EXPAND_WIDGET);
   if (beside) {
      row.pack_start(*beside, Gtk::PACK_SHRINK);
   }
   children.pack_start(row, Gtk::PACK_EXPAND_WIDGET);
   row.show();
   children.show();
}

void CheckBox::OnToggled()
{
   children.set_sensitive(button.get_active());
}

} // namespace lui
