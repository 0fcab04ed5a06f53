// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/wakeup.hh"

#include "lui/processWatch.hh"

#include <cerrno>
#include <poll.h>

namespace lui {

Wakeup WaitFor(int fd, short events, ProcessWatch const* peer, int timeout)
{
   pollfd entries[] = {{fd, events, 0}, {peer ? peer->Descriptor() : -1, POLLIN, 0}};
   int const count = poll(entries, 2, peer ? peer->PollTimeout(timeout) : timeout);
   if (count < 0) {
      // An interruption is nothing; of all else the descriptor itself tells more.
      return {.ready = errno != EINTR && fd >= 0};
   }
   bool const isTimeToAsk = peer && count == 0;
   return {.ready = entries[0].revents != 0,
           .ended = entries[1].revents != 0 || (isTimeToAsk && peer->HasEnded())};
}

} // namespace lui
