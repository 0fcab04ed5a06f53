// SPDX-License-Identifier: GPL-2.0-or-later
// The tools that start a program with root's rights.
#pragma once

#include "utf/string.hh"

namespace lui::Utils {

// Finds an elevation tool in the user's PATH: "pkexec", else "gnomesu". Fills in its short name
// and full path; false, with both left alone, if there is none.
bool FindAvailableElevator(utf::string& name, utf::string& path);

// Waits until the child `pid`, which runs the elevation tool, has got appName running with this
// process as its client, or has ended without. Tells which. The child is not reaped. From a success
// on, the watches of WatchPeer on the child follow the process that was found.
bool WaitForElevator(int pid, utf::string const& elevatorName, utf::string const& appName);

} // namespace lui::Utils
