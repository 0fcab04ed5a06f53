// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace Gtk {
class Widget;
} // namespace Gtk

namespace lui::Utils {

// Keeps the cursor of each entry in content at the end of its text as long as another widget has
// the focus. When Tab goes to an entry, GTK selects its text, and with that moves the cursor to the
// end. A screen reader that hears of a moving cursor takes it that the user knows where it is, and
// doesn't say which entry has got the focus.
void KeepCursorsAtEnd(Gtk::Widget& content);

} // namespace lui::Utils
