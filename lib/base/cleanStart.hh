// SPDX-License-Identifier: GPL-2.0-or-later
// What a process takes over from its starter.
#pragma once

#include <string_view>

namespace base {

// Whether a variable of the environment, "NAME=value", may stay in a process of root's: one that
// says in which language to speak, and leads to no file.
bool IsHarmlessVariable(std::string_view variable);

// Leaves the harmless variables, and a PATH of the system's folders; texts that getenv(3) gave
// before are empty from here on.
void CleanEnvironment();

// Opens what lacks of the descriptors 0 to 2, so that no file gets such a number and with it what
// is meant for the terminal, and marks all above them close-on-exec.
void CleanDescriptors();

} // namespace base
