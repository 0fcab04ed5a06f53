// SPDX-License-Identifier: GPL-2.0-or-later
// Where the program is that the watcher is run from.
#pragma once

#include <string>

namespace vnet::watch {

// The absolute path of tavrin-vnets: this program if it is that one, the one of the build tree if
// this code is a library of one, and else the installed one. What an environment says counts for
// nothing, as this process may have more rights than whoever started it. The file may be missing.
std::string FindWatcherProgram();
// The installed one, which may be missing.
std::string GetInstalledWatcherProgram();

} // namespace vnet::watch
