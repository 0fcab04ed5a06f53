// SPDX-License-Identifier: GPL-2.0-or-later
// A host with a real watcher, and ways to see what it does.
#pragma once

#include "lib/vnet/cli/vnetsTest.hh"

namespace vnet::watch {

class WatchTest : public cli::VnetsTest {
protected:
   // How often the process was given the processor and gave it back.
   static long CountSwitches(int pid);
   // Waits until the process isn't once awake for longer than a second.
   static bool FallsAsleep(int pid);
};

// A bound of what the watcher promises.
inline constexpr test::Milliseconds aSecond{1000};

} // namespace vnet::watch
