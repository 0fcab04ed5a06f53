// SPDX-License-Identifier: GPL-2.0-or-later
// Who keeps the processes of this host's networks.
#pragma once

#include "vnet/process/units.hh"

#include <memory>
#include <string>

namespace vnet::watch {

inline constexpr char const* watcherUnit = "tavrin-watcher.service";

// The service manager, if it runs on this host, can be asked, sees our folders as we do, and has
// our units; else none, and the library keeps the processes itself. So does a build tree, whose
// programs aren't those that the units start. `runFolder` is where the networks' files are.
std::shared_ptr<process::Units> FindHostUnits(std::string const& runFolder);

} // namespace vnet::watch
