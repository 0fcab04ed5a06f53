// SPDX-License-Identifier: GPL-2.0-or-later
// A guard around a blocking write(2) to the peer.
#pragma once

#include "lui/signalGuard.hh"

#include <memory>

namespace lui {

// While it lives, nothing interrupts a write to fd half-way: signals of this thread wait, and a
// broken pipe gives EPIPE instead of SIGPIPE. Should the peer that WatchPeer named for fd end, the
// pipe is emptied, so that the write returns instead of waiting for a reader that never comes.
// The watch of fd must not change meanwhile.
class PlainWrite {
public:
   explicit PlainWrite(int fd);
   ~PlainWrite();
   PlainWrite(PlainWrite const&) = delete;
   PlainWrite& operator=(PlainWrite const&) = delete;

private:
   class Drain;
   SignalGuard signals;
   std::unique_ptr<Drain> drain;
};

} // namespace lui
