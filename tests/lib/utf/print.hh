// SPDX-License-Identifier: GPL-2.0-or-later
// Lets GoogleTest show a text. Included by every test that compares some.
#pragma once

#include "utf/string.hh"

#include <ostream>

namespace utf {

inline void PrintTo(string const& text, std::ostream* out)
{
   *out << '"' << std::string(text.c_str(), text.bytes()) << '"';
}

} // namespace utf
