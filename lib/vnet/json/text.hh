// SPDX-License-Identifier: GPL-2.0-or-later
// From text to value and back.
#pragma once

#include "vnet/json/value.hh"

#include <string>
#include <string_view>

namespace vnet::json {

// How deep lists and objects may stand in each other, and how many values there may be, so that a
// small text doesn't become a large thing in memory.
inline constexpr std::size_t maxDepth = 16;
inline constexpr std::size_t maxValues = 500000;

// One value and nothing behind it, in UTF-8. Throws std::runtime_error with the place and the
// cause: "line 3, column 7: ...".
Value Parse(std::string_view text);

// With indented lines and a newline at the end. What isn't UTF-8 is replaced by U+FFFD, and
// characters that a terminal acts on are escaped.
std::string Write(Value const& value);

// "line 3, column 7"
std::string ToString(Position const& position);

} // namespace vnet::json
