// SPDX-License-Identifier: GPL-2.0-or-later
// Texts that a careless writer or reader would spoil.
#pragma once

#include "utf/string.hh"

#include <vector>

namespace netcfg::common {

// Empty, plain, with every character that JSON escapes, and with characters of every UTF-8 length.
// None has a NUL.
std::vector<utf::string> const& OddTexts();

} // namespace netcfg::common
