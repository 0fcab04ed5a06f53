// SPDX-License-Identifier: GPL-2.0-or-later
// The XDG base directories of the user.
#pragma once

#include <string>

namespace base {

// The value of the environment's variable if that is an absolute path, otherwise belowHome (such as
// ".config") in the home directory. Empty if the user has no home directory.
std::string UserDirectory(char const* variable, char const* belowHome);

} // namespace base
