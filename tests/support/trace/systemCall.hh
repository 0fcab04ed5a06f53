// SPDX-License-Identifier: GPL-2.0-or-later
// System calls as a test sees them: which there are, what they are about, and how they can fail.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test {

// What there is to know of one kind of call. An argument is told by its place, from 0; -1 for none.
struct CallKind {
   int number; // __NR_
   char const* name;
   int descriptor = -1;
   int path = -1; // with a descriptor too: relative to that
   int otherPath = -1;
   // Whether it may handle fewer bytes than its third argument asks for.
   bool shortens = false;
   // How it may fail (errno(3)) in a way that isn't the caller's mistake; none for one that can't,
   // or whose failure nobody could do anything about.
   std::vector<int> errors = {};
};

// Null for a call that the table lacks.
CallKind const* FindCallKind(int number);

// One call, as it began.
struct SystemCall {
   int process = 0; // 0 is the work's own, 1 the first that it forked, ...
   int index = 0;   // among the calls of its process
   int number = 0;  // __NR_
   std::array<std::uint64_t, 6> arguments{};
   std::string object; // path of a file, or what a descriptor is

   std::string GetName() const;
   // "openat /etc/tavrin/networking"
   std::string ToString() const;
};

// What the call of a process that is stopped in it is about.
std::string DescribeObject(pid_t process, SystemCall const& call);

} // namespace test
