// SPDX-License-Identifier: GPL-2.0-or-later
// printf into a text.
#pragma once

#include "utf/string.hh"

namespace cui {

// Formats like printf(3), into a text of any length. The format may be a translated one. Where
// printf fails (an argument that isn't a text, more than INT_MAX bytes), the result is the format.
[[gnu::format(printf, 1, 2)]] utf::string Format(char const* format, ...);

} // namespace cui
