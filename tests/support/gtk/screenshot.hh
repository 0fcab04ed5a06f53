// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <gtkmm/window.h>
#include <string>

namespace test::gtk {

// Writes what the window shows, without a window manager's frame, into a PNG file. False if the
// window isn't on the screen or the file can't be written.
bool SaveScreenshot(Gtk::Window& window, std::string const& path);

// Writes the part of the screen that has windows on it, as they stand over each other. False if
// there are none or the file can't be written.
bool SaveScreen(std::string const& path);

} // namespace test::gtk
