// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/signalGuard.hh"

#include <cerrno>
#include <ctime>
#include <initializer_list>

namespace lui {

namespace {

sigset_t OnlyBrokenPipes()
{
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, SIGPIPE);
   return set;
}

// A blocked fault would kill the process without its handlers.
sigset_t AllButFaults()
{
   sigset_t set;
   sigfillset(&set);
   for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
      sigdelset(&set, fault);
   }
   return set;
}

bool IsBrokenPipePending()
{
   sigset_t pending;
   return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

void DropBrokenPipe()
{
   sigset_t const set = OnlyBrokenPipes();
   timespec const noTime{};
   while (sigtimedwait(&set, nullptr, &noTime) < 0 && errno == EINTR) {
   }
}

} // namespace

SignalGuard SignalGuard::ForBrokenPipes()
{
   return SignalGuard(OnlyBrokenPipes());
}

SignalGuard SignalGuard::ForAll()
{
   return SignalGuard(AllButFaults());
}

SignalGuard::SignalGuard(sigset_t const& held) : pipeWasPending(IsBrokenPipePending())
{
   pthread_sigmask(SIG_BLOCK, &held, &oldMask);
}

SignalGuard::~SignalGuard()
{
   int const error = errno;
   if (!pipeWasPending) {
      DropBrokenPipe();
   }
   pthread_sigmask(SIG_SETMASK, &oldMask, nullptr);
   errno = error;
}

} // namespace lui
