// SPDX-License-Identifier: GPL-2.0-or-later
// Which calls of a recorded run are to go wrong, and how.
#pragma once

#include "support/trace/tracedRun.hh"

#include <cstddef>
#include <vector>

namespace test {

// Each call that can go wrong, once in each way: those that failing calls have, fewer bytes, and
// programs that die at once. Calls of one kind about the same thing that come after the same call
// count as one, and so do networks and devices that differ by a number.
std::vector<Fault> ListFailures(std::vector<SystemCall> const& calls);
// The death of the process at each of these calls.
std::vector<Fault> ListDeaths(std::vector<SystemCall> const& calls);

// At most `count` of them, evenly spread; 0: all.
std::vector<Fault> Thin(std::vector<Fault> const& faults, std::size_t count);

// What the environment asks for; `few` if it doesn't.
std::size_t GetCount(char const* variable, std::size_t few);

} // namespace test
