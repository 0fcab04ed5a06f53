// SPDX-License-Identifier: GPL-2.0-or-later
// Decides which lines are written and where to.
#pragma once

#include "base/logTargets.hh"

#include <atomic>
#include <functional>
#include <string_view>

namespace base {

class Logger {
public:
   // configuredLevel is asked for as long as SetLevel hasn't been called.
   Logger(LogTargets& targets, std::function<int()> configuredLevel);

   // From now on lines go to this descriptor, which stays the caller's. -1 ends that.
   void SetFile(int fd) { file = fd; }

   // The least important severity that Write lets through.
   void SetLevel(int severity) { level = severity; }

   // A severity below 0 counts as 0, one above LOG_SEVERITY_MAX as that.
   void Write(int severity, std::string_view text);

   // Always written.
   void Warning(std::string_view text);

   // The first line of a file; always written.
   void Header(std::string_view text);

   // Always written, and to standard error in any case.
   void Panic(std::string_view text);

private:
   struct Level;
   static Level const& LevelOf(int severity);
   bool IsWanted(int severity) const;
   void Dispatch(Level const& of, std::string_view text, bool alsoStandardError);

   LogTargets& targets;
   std::function<int()> configuredLevel;
   std::atomic<int> level = UNSET;
   std::atomic<int> file = -1;

   static constexpr int UNSET = -1;
};

} // namespace base
