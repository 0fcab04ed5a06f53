// SPDX-License-Identifier: GPL-2.0-or-later
// Waiting for a descriptor and for the end of the process behind it at once.
#pragma once

namespace lui {

class ProcessWatch;

// What ended a wait. Neither if it took too long, or if it is time to ask again.
struct Wakeup {
   bool ready = false;
   bool ended = false;
};

// Waits until fd is ready for the events of poll(2), or in error, or until peer, which may be null,
// has ended. A negative fd is never ready. The timeout is in milliseconds; a negative one means
// none. May return early with neither.
Wakeup WaitFor(int fd, short events, ProcessWatch const* peer, int timeout);

} // namespace lui
