// SPDX-License-Identifier: GPL-2.0-or-later
// Processes that aren't our children.
#pragma once

#include "base/fileDescriptor.hh"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vnet::process {

// A process, told from a later one with the same number by the time of its start.
struct Identity {
   pid_t pid = 0;
   std::uint64_t startTime = 0; // in ticks since boot: field 22 of /proc/<pid>/stat

   bool operator==(Identity const&) const = default;
};

// One that lived when it was looked at.
struct ProcessFacts {
   Identity identity;
   char state = 0;         // as proc(5) has it: R, S, D, T ...
   std::string executable; // path of the program, also after that file was replaced
   std::vector<std::string> arguments;
   // Whether it is in the network namespace of this thread; empty if we may not know.
   std::optional<bool> sameNetwork;
};

// Empty if there is no such process, or if it has ended and only waits to be reaped. The executable
// is empty if we may not know it.
std::optional<ProcessFacts> FindProcess(pid_t pid);
// All processes whose first arguments are these.
std::vector<ProcessFacts> FindProcesses(std::vector<std::string> const& firstArguments);

// A hold on one process: no signal goes to another that got its number.
class ProcessHandle {
public:
   // Empty if that very process is gone. Throws Error if it can't be held.
   static std::optional<ProcessHandle> Open(Identity const& identity);

   // Throws Error; a process that has ended is no failure.
   void Signal(int number) const;
   // Whether the process ended by the deadline. Whoever is its parent may still have to reap it.
   bool WaitForEnd(std::chrono::milliseconds deadline) const;
   // SIGTERM, and SIGKILL at the deadline. Throws Error if it outlives even that.
   void Terminate(std::chrono::milliseconds deadline) const;

private:
   ProcessHandle(Identity const& process, base::FileDescriptor pidDescriptor);

   Identity identity;
   base::FileDescriptor descriptor;
};

} // namespace vnet::process
