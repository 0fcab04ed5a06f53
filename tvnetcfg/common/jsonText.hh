// SPDX-License-Identifier: GPL-2.0-or-later
// What is done to the snapshot's text outside the JSON library.
#pragma once

#include <string>

namespace netcfg::common {

// Whether objects and arrays stand inside each other more than limit deep. Brackets in JSON strings
// don't count. Of a text that isn't JSON, everything up to its first error is judged rightly, which
// is as far as a parser goes.
bool NestsDeeperThan(std::string const& json, unsigned int limit);

// The same JSON in ASCII: each character outside it as a \u escape, those above U+FFFF as two.
// json must be valid UTF-8, and JSON with such characters in its strings alone.
std::string ToAsciiJson(std::string const& json);

} // namespace netcfg::common
