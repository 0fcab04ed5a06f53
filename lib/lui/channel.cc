// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/channel.hh"

#include "lui/channelPeer.hh"
#include "lui/signalGuard.hh"
#include "lui/wakeup.hh"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace lui::Utils {

namespace {

// Keeps writes to a descriptor from blocking while it lives.
class NonBlocking {
public:
   explicit NonBlocking(int descriptor) : fd(descriptor), flags(fcntl(descriptor, F_GETFL))
   {
      isOurs = flags >= 0 && !(flags & O_NONBLOCK) && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
   }
   ~NonBlocking()
   {
      if (isOurs) {
         fcntl(fd, F_SETFL, flags);
      }
   }
   NonBlocking(NonBlocking const&) = delete;
   NonBlocking& operator=(NonBlocking const&) = delete;

   // Nothing would ever wake the wait for one that takes nothing.
   bool CanWrite() const { return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY; }

   // The most to write once poll(2) has said that fd is ready. A pipe then takes PIPE_BUF bytes
   // without blocking, whatever its mode.
   std::size_t LargestWrite() const
   {
      bool const isSet = isOurs || (flags & O_NONBLOCK);
      return isSet ? SSIZE_MAX : PIPE_BUF;
   }

private:
   int fd;
   int flags;
   bool isOurs;
};

bool SendAll(int fd, char const* bytes, std::size_t count, ProcessWatch const* peer)
{
   SignalGuard const guard = SignalGuard::ForBrokenPipes();
   NonBlocking const mode(fd);
   while (count > 0 && mode.CanWrite()) {
      Wakeup const wakeup = WaitFor(fd, POLLOUT, peer, -1);
      if (wakeup.ended) {
         return false;
      }
      ssize_t const sent =
         wakeup.ready ? write(fd, bytes, std::min(count, mode.LargestWrite())) : 0;
      if (sent < 0 && errno != EINTR && errno != EAGAIN) {
         return false;
      }
      bytes += std::max<ssize_t>(sent, 0);
      count -= static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
   }
   return count == 0;
}

} // namespace

bool SendData(int fd, utf::string const& text)
{
   ProcessWatch const* const peer = ChannelEnds::Get().PeerOf(fd);
   if (peer && peer->HasEnded()) {
      return false;
   }
   // With a NUL inside it would be two messages.
   bool const isOne = std::strlen(text.c_str()) == text.bytes();
   return isOne && SendAll(fd, text.c_str(), text.bytes() + 1, peer);
}

bool ReceiveData(int fd, utf::string& text)
{
   try {
      return ChannelEnds::Get().At(fd).Receive(text);
   } catch (std::exception const&) { // no memory
      return false;
   }
}

bool WaitForMessageFromServer(int fd, utf::string const& expected)
{
   utf::string text;
   return ReceiveData(fd, text) && text == expected;
}

void WatchPeer(int fd, int pid, utf::string const& lastMessage)
{
   ChannelEnds::Get().At(fd).Watch(pid, lastMessage);
}

void UnwatchPeer(int fd)
{
   ChannelEnds::Get().Forget(fd);
}

} // namespace lui::Utils
