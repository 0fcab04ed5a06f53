// SPDX-License-Identifier: GPL-2.0-or-later
// printf into a text.
#pragma once

#include "utf/string.hh"

namespace cui {

// Formats like printf(3), into a text of any length. The format may be a translated one.
[[gnu::format(printf, 1, 2)]] utf::string Format(char const* format, ...);

} // namespace cui
