// SPDX-License-Identifier: GPL-2.0-or-later
// What is done to the snapshot's text outside the JSON library.
#pragma once

#include <string>
#include <string_view>

namespace netcfg::common {

// Whether objects and arrays stand inside each other more than limit deep. Brackets in JSON strings
// don't count. Of a text that isn't JSON, everything up to its first error is judged rightly, which
// is as far as a parser goes.
bool NestsDeeperThan(std::string const& json, unsigned int limit);

// Appends text as a JSON string, in ASCII: each character outside it as a \u escape, those above
// U+FFFF as two. text must be valid UTF-8. Of ASCII it escapes what the JSON library escapes.
void AppendJsonString(std::string& json, std::string_view text);

} // namespace netcfg::common
