// SPDX-License-Identifier: GPL-2.0-or-later
// A stand-in for the base library's log: linked into a test's program, its functions go before
// those of the shared library.
#pragma once

#include <string>
#include <vector>

namespace test {

// What was logged, in order, whatever the level. A line is the function with the text, and for LogV
// the severity: "Warning: text", "Log: text", "LogV(2): text"; the newline at the end, which each
// line must have, stays.
// Panic writes its text to standard error and aborts, as the real one does but without a trace in
// the system's log: it is for death tests.
class LogDouble {
public:
   static std::vector<std::string> const& GetLines();
   static void Clear();
   // From now on each line is also written to this descriptor at once, for a process that may not
   // live to tell.
   static void PassOn(int descriptor);
};

} // namespace test
