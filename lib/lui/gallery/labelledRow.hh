// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <glibmm/ustring.h>

namespace Gtk {
class Entry;
class Grid;
} // namespace Gtk

namespace gallery {

// Puts an entry and the label that names it, with its mnemonic, into a row of the grid.
void AddRow(Gtk::Grid& grid, int row, Glib::ustring const& text, Gtk::Entry& entry);

} // namespace gallery
