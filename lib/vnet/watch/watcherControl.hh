// SPDX-License-Identifier: GPL-2.0-or-later
// Starts and ends the resident watcher from any process that may change the host's networks.
#pragma once

#include "vnet/process/units.hh"
#include "vnet/watch/watcherProgram.hh"

#include <memory>
#include <string>

namespace vnet::watch {

// Sees to it that the watcher runs: starts it if it doesn't, and else wakes it, so that it reads
// the database again. Doesn't wait for it to be ready. Call it with the database's lock held.
// `runFolder`, an absolute path, holds its pid file and is where it works. Throws Error.
//
// With units, it is one of them, and works where that says. These may be null.
void EnsureWatcher(std::shared_ptr<process::Units> const& units, std::string const& runFolder);
void StopWatcher(std::shared_ptr<process::Units> const& units, std::string const& runFolder);

// The same for one that this process starts itself, and for whichever runs.
void EnsureWatcher(std::string const& runFolder = "/run/tavrin",
                   std::string const& program = FindWatcherProgram());
// Ends the watcher, if one runs, and waits until it is gone. It doesn't need the database's lock
// to end: the caller holds it. Throws Error.
void StopWatcher(std::string const& runFolder = "/run/tavrin");
// Whether one runs. Needs no lock.
bool IsWatcherRunning(std::string const& runFolder = "/run/tavrin");

} // namespace vnet::watch
