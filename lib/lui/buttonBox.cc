// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/buttonBox.hh"

namespace lui {

namespace {

constexpr int SPACING = 6;

} // namespace

ButtonBox::ButtonBox(Gtk::Align side)
   : Gtk::Alignment(side == Gtk::ALIGN_END ? 1.0F : 0.0F, 0.5F, 0.0F, 0.0F)
{
   row.set_homogeneous(true);
   row.set_spacing(SPACING);
   add(row);
   row.show();
}

void ButtonBox::Append(Gtk::Button& button)
{
   row.pack_start(button, Gtk::PACK_EXPAND_WIDGET);
   button.show();
}

void ButtonBox::Remove(Gtk::Button& button)
{
   if (button.get_parent() == &row) {
      row.remove(button);
   }
}

} // namespace lui
