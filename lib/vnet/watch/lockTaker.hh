// SPDX-License-Identifier: GPL-2.0-or-later
// Takes the database's lock without waiting in one place for it.
#pragma once

#include "vnet/database/lockFile.hh"
#include "vnet/watch/pace.hh"

#include <chrono>
#include <optional>
#include <string>

namespace vnet::watch {

// Who waits inside a call for a lock can't be ended by its holder, so this tries, and tells when to
// try again: soon at first, as a save takes milliseconds.
class LockTaker {
public:
   explicit LockTaker(std::string runFolder) : folder(std::move(runFolder)) {}

   // Empty if another has it. A lock that can't be had for half a minute is logged once.
   std::optional<LockFile> Try();
   // Before this it is of no use to try.
   Clock::time_point GetNextTime() const { return next; }

private:
   std::string folder;
   Clock::time_point next;
   std::chrono::milliseconds gap{0};
   unsigned int failures = 0; // one after the other
};

} // namespace vnet::watch
