// SPDX-License-Identifier: GPL-2.0-or-later
#include "labelledRow.hh"

#include <gtkmm/entry.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>

namespace gallery {

void AddRow(Gtk::Grid& grid, int row, Glib::ustring const& text, Gtk::Entry& entry)
{
   auto& label = *Gtk::manage(new Gtk::Label(text, true));
   label.set_halign(Gtk::ALIGN_START);
   label.set_mnemonic_widget(entry);
   grid.attach(label, 0, row, 1, 1);
   grid.attach(entry, 1, row, 1, 1);
   label.show();
   entry.show();
}

} // namespace gallery
