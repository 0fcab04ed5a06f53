// SPDX-License-Identifier: GPL-2.0-or-later
// What goes to a terminal.
#pragma once

#include <string>
#include <string_view>

namespace vnet::cli {

// Whether what is written to the descriptor may be coloured: it is a terminal that knows more than
// letters (TERM), and nobody asked for none (NO_COLOR, https://no-color.org). To be asked before
// the environment is emptied.
bool WantsColours(int descriptor);

// Colours texts, or leaves them as they are.
class Paint {
public:
   explicit Paint(bool wanted = false) : colours(wanted) {}

   std::string Good(std::string const& text) const { return Wrap("32", text); }
   std::string Bad(std::string const& text) const { return Wrap("31", text); }
   std::string Strong(std::string const& text) const { return Wrap("1", text); }

private:
   bool colours;

   std::string Wrap(char const* code, std::string const& text) const;
};

// A text of somebody else's: printable ASCII stands, other bytes become \xNN.
std::string MakePrintable(std::string_view text);

} // namespace vnet::cli
