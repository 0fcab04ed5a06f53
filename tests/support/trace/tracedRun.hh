// SPDX-License-Identifier: GPL-2.0-or-later
// Work in a process of its own, of which each system call is seen, and one may go wrong.
//
// The work is stopped at each of its calls (ptrace(2)), whatever library makes it, and so is a
// process that it forks, up to its exec; the program that comes then is left alone.
#pragma once

#include "support/testProcess.hh"
#include "support/trace/systemCall.hh"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test {

// Strikes one call: of its process the first of that number from that place on.
struct Fault {
   enum class Kind {
      Fail,        // the call isn't made, and returns the error
      Shorten,     // it handles a part of the bytes
      Kill,        // the work's process is killed instead
      KillProgram, // of an exec: the new program is killed before its first instruction
   };

   int process = 0;
   int index = 0;
   int number = 0;
   Kind kind = Kind::Fail;
   int error = 0;

   // "fails with ENOSPC", "is killed"
   std::string ToString() const;
};

struct TracedWork {
   // Before the calls are looked at, with the fault out of the way.
   std::function<void()> prepare = [] {};
   std::function<void()> work;
   // Afterwards, likewise; the exit status.
   std::function<int()> finish = [] { return 0; };
};

struct TracedRun {
   // Without a fault all calls of the work; else the one that was hit, if it came to it.
   std::vector<SystemCall> calls;
   // As wait(2) gives it; empty if the work hung to the deadline, and was killed.
   std::optional<int> status;
};

// Empty, or why nothing can be traced here.
std::string const& GetTraceProblem();

// Runs the work in a child, while this process has no other. What the child's program left is
// the caller's to look at.
TracedRun RunTraced(TracedWork const& work, std::optional<Fault> const& fault = {},
                    Milliseconds deadline = patience);

// The same without looking at any call.
std::optional<int> RunUntraced(TracedWork const& work, Milliseconds deadline = patience);

} // namespace test
