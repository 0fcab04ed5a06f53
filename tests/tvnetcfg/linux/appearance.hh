// SPDX-License-Identifier: GPL-2.0-or-later
// How a window on the screen looks, whatever its language.
#pragma once

#include <gtkmm/window.h>
#include <pangomm/layout.h>
#include <string>

namespace test {

// Fails unless a screen of 1024 by 768 holds the window.
void ExpectToFit(Gtk::Window& window);
// Fails where a label, a title or a cell is cut off, or hidden until somebody scrolls aside.
void ExpectWholeTexts(Gtk::Window& window);

// A text without the mark of its direction before it.
std::string WithoutMark(std::string const& text);
// Whether the characters stand from left to right, as a widget would write them.
bool IsLeftToRight(Glib::RefPtr<Pango::Layout> const& layout);

} // namespace test
