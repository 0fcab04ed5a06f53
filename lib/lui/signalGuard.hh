// SPDX-License-Identifier: GPL-2.0-or-later
// Signals of a thread that wait for the end of a scope.
#pragma once

#include <csignal>

namespace lui {

// Holds signals of this thread back while it lives. A SIGPIPE that came meanwhile is dropped: the
// write that raised it has told its caller already. Ends on the thread that made it.
class SignalGuard {
public:
   // Holds back SIGPIPE alone.
   static SignalGuard ForBrokenPipes();
   // Holds back all signals but those that a fault of the thread itself raises.
   static SignalGuard ForAll();

   ~SignalGuard();
   SignalGuard(SignalGuard const&) = delete;
   SignalGuard& operator=(SignalGuard const&) = delete;

private:
   explicit SignalGuard(sigset_t const& held);

   bool pipeWasPending;
   sigset_t oldMask;
};

} // namespace lui
