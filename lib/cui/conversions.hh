// SPDX-License-Identifier: GPL-2.0-or-later
// What a printf format takes from its caller.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cui {

// The types of the arguments that a printf(3) format consumes, in the order in which they are
// passed; each is a length modifier and a letter, "ld" or "s". Numbered arguments (%2$s) count at
// their number. What printf can't read, or what leaves an argument's type open, is the entry "?".
// Two formats with equal results may stand for each other.
std::vector<std::string> GetConversions(std::string_view format);

} // namespace cui
