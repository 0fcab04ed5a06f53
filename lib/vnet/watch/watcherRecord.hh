// SPDX-License-Identifier: GPL-2.0-or-later
// Which process the watcher is.
#pragma once

#include "vnet/process/pidFile.hh"

#include <csignal>
#include <optional>
#include <string>

namespace vnet::watch {

// Tells the watcher to read the database again. One that isn't listening yet reads it anyway, and
// by default this signal does nothing.
inline constexpr int wakeSignal = SIGURG;

// Changes with the database's lock held; the starter writes it, so that nobody starts a second one
// before the first has come up.
class WatcherRecord {
public:
   explicit WatcherRecord(std::string const& runFolder) : file(runFolder + "/watcher.pid") {}

   // Throw Error.
   void Write(process::Identity const& identity) const { file.Write({identity, 0}); }
   void Remove() const { file.Remove(); }
   // The watcher, if it lives, from whichever file it was run.
   std::optional<process::Identity> FindLiving() const;

private:
   process::PidFile file;
};

} // namespace vnet::watch
