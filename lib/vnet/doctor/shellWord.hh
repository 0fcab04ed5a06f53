// SPDX-License-Identifier: GPL-2.0-or-later
// Names of others in command lines that somebody may copy.
#pragma once

#include <string>
#include <string_view>

namespace vnet::doctor {

// The text as one word of a shell's: as it is, or in quotation marks.
std::string MakeShellWord(std::string_view text);

} // namespace vnet::doctor
