// SPDX-License-Identifier: GPL-2.0-or-later
// A place for work that starts processes, from which none gets away.
#pragma once

#include <functional>

namespace bench {

// Runs `work` in a child process and returns its status. Whatever it started, also what went into
// the background, is ended when it is done, when it dies, and when this process is interrupted.
// What an ended background process leaves is reaped at once, as a host's first process does. Call
// it while the process has one thread.
int RunInNursery(std::function<int()> const& work);

} // namespace bench
