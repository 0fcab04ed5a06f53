// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/datagrams.hh"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t port = 5002;
constexpr std::uint64_t window = 32;
// For what is under way on a busy machine.
constexpr std::chrono::milliseconds patience(500);

// Waits in turns, so that the thread may be ended.
void LimitWait(int socket)
{
   timeval const turn{0, 50000};
   setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &turn, sizeof turn);
}

} // namespace

Datagrams::Datagrams(netlab::Namespace const& guest, netlab::Namespace const& place,
                     std::string const& address)
   : sender(netlab::OpenSocket(guest, AF_INET, SOCK_DGRAM)),
     receiver(netlab::OpenBound(place, SOCK_DGRAM, port))
{
   auto const to = guest.Run([&] { return netlab::MakeSocketAddress({address, port}); });
   if (connect(sender.Get(), to.Get(), to.length) < 0) {
      throw std::runtime_error("reach " + address + ": " + std::strerror(errno));
   }
   LimitWait(receiver.Get());
   reading = std::thread([this] { Receive(); });
   sending = std::thread([this] { Send(); });
}

Datagrams::~Datagrams()
{
   Finish();
   closing = true;
   reading.join();
}

bool Datagrams::AllCame() const
{
   return received >= sent;
}

// After a while what didn't come is lost, and the others go on.
void Datagrams::Send()
{
   char const data[64] = {};
   std::uint64_t lost = 0;
   auto last = Clock::now();
   while (!ending) {
      if (sent - received - lost >= window) {
         lost = Clock::now() - last > patience ? sent - received : lost;
         std::this_thread::yield();
      } else if (send(sender.Get(), data, sizeof data, 0) == sizeof data) {
         last = Clock::now();
         ++sent;
      }
   }
}

void Datagrams::Receive()
{
   char data[64];
   while (!closing) {
      received += recv(receiver.Get(), data, sizeof data, 0) > 0 ? 1 : 0;
   }
}

std::uint64_t Datagrams::Finish()
{
   ending = true;
   if (sending.joinable()) {
      sending.join();
   }
   auto const deadline = Clock::now() + patience;
   while (!AllCame() && Clock::now() < deadline) {
      std::this_thread::yield();
   }
   return sent - received;
}

} // namespace bench
