// SPDX-License-Identifier: GPL-2.0-or-later
// Tests of what changes a process for good, run in a copy of it.
#pragma once

#include <functional>
#include <sys/types.h>
#include <unistd.h>

namespace base {

inline constexpr uid_t NOBODY = 65534;

// Runs the body in a forked child. True if it came to its end without a failed expectation, which
// the child prints. The child gets SIGALRM if it takes too long.
bool PassesInChild(std::function<void()> const& body);

// Gives root's rights up for good, but lets /proc tell of this process as of any other of the
// user's.
void BecomeNobody();

// A child that has something done and then waits to be ended by its owner.
class HeldChild {
public:
   // Returns when setUp has been done in the child.
   explicit HeldChild(std::function<void()> const& setUp);
   ~HeldChild();
   HeldChild(HeldChild const&) = delete;
   HeldChild& operator=(HeldChild const&) = delete;

   pid_t GetPid() const { return pid; }

private:
   pid_t pid;
};

// Forks a child that ends at once, and returns when it is a zombie. The caller reaps it.
pid_t MakeZombie();

} // namespace base
