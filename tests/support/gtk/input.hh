// SPDX-License-Identifier: GPL-2.0-or-later
// A user's hands: keys and clicks that come through the display. Each returns once they were
// handled.
#pragma once

#include <gdk/gdk.h>
#include <gdk/gdkkeysyms.h>
#include <gtkmm/textview.h>
#include <gtkmm/treeview.h>
#include <gtkmm/window.h>
#include <string>

namespace test::gtk {

// Waits until the window has the keyboard. False if it doesn't get it.
bool WaitUntilActive(Gtk::Window& window);
// Shows it first.
bool ShowActive(Gtk::Window& window);

// A key, pressed and released in the window: GDK_KEY_Tab, and GDK_MOD1_MASK for Alt.
void PressKey(Gtk::Window& window, unsigned int symbol, unsigned int modifiers = 0);
// Num Lock: without it the keypad's digits are arrows, with Shift too as far as GTK goes.
void SetNumLock(bool on);
// A text of ASCII characters, key by key.
void TypeText(Gtk::Window& window, std::string const& text);
// Puts the focus into an entry, selects all that is there, and types.
void TypeInto(Gtk::Widget& entry, std::string const& text);

// A click with the first button into the middle of a widget on the screen, also if another window
// covers it.
void Click(Gtk::Widget& widget);
// The same on a row's cell: with or without a toggle at the front of the column, its middle.
void ClickCell(Gtk::TreeView& view, int row, int column);
// On the toggle at the front of a row's first column.
void ClickToggle(Gtk::TreeView& view, int row);
// On the first place where a view says this, in its middle.
void ClickText(Gtk::TextView& view, std::string const& text);

} // namespace test::gtk
