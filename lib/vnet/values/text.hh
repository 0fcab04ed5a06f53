// SPDX-License-Identifier: GPL-2.0-or-later
// Texts that people write and read.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vnet {

// Whether text has at most maxBytes bytes and is UTF-8 without NUL, other control characters (C0,
// DEL, C1) and the separators of lines and paragraphs (U+2028, U+2029): one line of plain text.
bool IsPlainText(std::string_view text, std::size_t maxBytes);

// The text in quotation marks for a log line: printable ASCII stands, other bytes become \xNN, and
// what goes beyond 64 bytes becomes "...".
std::string Quote(std::string_view text);

} // namespace vnet
