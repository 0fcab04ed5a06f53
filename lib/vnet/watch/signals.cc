// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/signals.hh"

#include "vnet/values/error.hh"
#include "vnet/watch/watcherRecord.hh"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/signalfd.h>

namespace vnet::watch {

namespace {

sigset_t GetOurs()
{
   sigset_t ours;
   sigemptyset(&ours);
   for (int const number : {wakeSignal, SIGHUP, SIGTERM, SIGINT}) {
      sigaddset(&ours, number);
   }
   return ours;
}

} // namespace

Signals::Signals()
{
   auto const ours = GetOurs();
   if (int const cause = pthread_sigmask(SIG_BLOCK, &ours, nullptr)) {
      throw Error("block", "signals", std::strerror(cause));
   }
   descriptor = base::FileDescriptor(signalfd(-1, &ours, SFD_CLOEXEC | SFD_NONBLOCK));
   if (!descriptor.IsOpen()) {
      throw Error("listen to", "signals", std::strerror(errno));
   }
}

Signals::Request Signals::Read()
{
   auto request = Request::None;
   signalfd_siginfo signal;
   while (read(descriptor.Get(), &signal, sizeof signal) == sizeof signal) {
      bool const look = signal.ssi_signo == wakeSignal || signal.ssi_signo == SIGHUP;
      if (!look) {
         request = Request::End;
      } else if (request == Request::None) {
         request = Request::Look;
      }
   }
   return request;
}

} // namespace vnet::watch
