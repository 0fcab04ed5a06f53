// SPDX-License-Identifier: GPL-2.0-or-later
// The keys that reach a control with Alt.
#pragma once

#include <gtkmm/window.h>
#include <map>
#include <string>

namespace test {

// A label with a mnemonic, and whom it's meant for.
struct Mnemonic {
   std::string text;
   Gtk::Widget* target;
};

// Those on the screen, by their keys in lower case.
std::multimap<unsigned int, Mnemonic> FindMnemonics(Gtk::Window& window);

} // namespace test
