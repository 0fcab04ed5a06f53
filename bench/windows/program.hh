// SPDX-License-Identifier: GPL-2.0-or-later
// A program that runs, and what it takes.
#pragma once

#include "networks/verdict.hh"

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

// What one process has taken so far.
struct Use {
   long switches = 0; // of the processor, to or from any of its threads
   long ticks = 0;    // of the processor's time: sysconf(_SC_CLK_TCK) to a second
};

// Ends with this object. With those that it started it is one group of processes.
class Program {
public:
   // Throws std::runtime_error.
   explicit Program(std::string const& path);
   ~Program();
   Program(Program const&) = delete;
   Program& operator=(Program const&) = delete;

   // Kibibytes, proportional set size (proc_pid_smaps(5)).
   long GetMemory() const;
   // By the processes' numbers.
   std::map<pid_t, Use> GetUse() const;

private:
   pid_t pid = 0;

   std::vector<pid_t> ListProcesses() const;
};

// Of any process.
Use GetUse(pid_t pid);
// As it calls itself.
std::string GetName(pid_t pid);

// What a process took while nothing happened, which should be nothing.
Verdict JudgeIdle(std::string const& name, Use const& before, Use const& after);

} // namespace bench
