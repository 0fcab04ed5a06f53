// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/plainWrite.hh"

#include "base/fileDescriptor.hh"
#include "base/log.h"
#include "lui/channelPeer.hh"
#include "lui/wakeup.hh"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace lui {

// A thread beside the one that writes, which can do nothing else meanwhile. It inherits the held
// signals, so none is handled on it.
class PlainWrite::Drain {
public:
   Drain(int descriptor, ProcessWatch const& process)
      : fd(descriptor), peer(process), stop(MakeStop()), thread([this] { WaitForEnd(); })
   {}
   ~Drain() { eventfd_write(stop.Get(), 1); }

private:
   static base::FileDescriptor MakeStop();
   void WaitForEnd() const;
   void Empty() const;

   int fd;
   ProcessWatch const& peer;
   base::FileDescriptor stop;
   std::jthread thread; // last, so that it ends before what it uses
};

base::FileDescriptor PlainWrite::Drain::MakeStop()
{
   base::FileDescriptor event(eventfd(0, EFD_CLOEXEC));
   if (!event.IsOpen()) {
      throw std::system_error(errno, std::generic_category());
   }
   return event;
}

void PlainWrite::Drain::WaitForEnd() const
{
   for (;;) {
      Wakeup const wakeup = WaitFor(stop.Get(), POLLIN, &peer, -1);
      if (wakeup.ready) {
         return;
      }
      if (wakeup.ended) {
         Empty();
         return;
      }
   }
}

void PlainWrite::Drain::Empty() const
{
   // This opens the other side of the same pipe.
   std::string const path = "/proc/self/fd/" + std::to_string(fd);
   base::FileDescriptor const pipe(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
   std::array<char, 65536> bytes;
   pollfd entries[] = {{pipe.Get(), POLLIN, 0}, {stop.Get(), POLLIN, 0}};
   while (poll(entries, 2, -1) < 0 || entries[1].revents == 0) {
      ssize_t const count = read(pipe.Get(), bytes.data(), bytes.size());
      if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
         return;
      }
   }
}

PlainWrite::PlainWrite(int fd) : signals(SignalGuard::ForAll())
{
   ProcessWatch const* const peer = ChannelEnds::Get().PeerOf(fd);
   if (!peer) {
      return;
   }
   try {
      drain = std::make_unique<Drain>(fd, *peer);
   } catch (std::system_error const& error) {
      Warning("%s: watch the write to descriptor %d: %s\n", __func__, fd, error.what());
   }
}

PlainWrite::~PlainWrite() = default;

} // namespace lui
