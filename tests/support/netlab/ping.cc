// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/ping.hh"

#include "support/netlab/endpoint.hh"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <vector>

namespace netlab {

namespace {

using Clock = std::chrono::steady_clock;

// Between two requests.
constexpr std::chrono::seconds interval(1);

std::uint16_t MakeChecksum(std::vector<std::uint8_t> const& data)
{
   std::uint32_t sum = 0;
   for (std::size_t i = 0; i < data.size(); i += 2) {
      sum += static_cast<std::uint32_t>(data[i] | (i + 1 < data.size() ? data[i + 1] << 8 : 0));
   }
   sum = (sum >> 16) + (sum & 0xffff);
   return static_cast<std::uint16_t>(~(sum + (sum >> 16)));
}

// ICMP and ICMPv6 have the same form; the latter's checksum is the kernel's business.
std::vector<std::uint8_t> MakeRequest(bool four, std::uint16_t id, std::size_t size)
{
   std::vector<std::uint8_t> packet(8 + size, 0xa5);
   icmphdr header{};
   header.type = four ? ICMP_ECHO : ICMP6_ECHO_REQUEST;
   header.un.echo.id = id;
   std::memcpy(packet.data(), &header, sizeof header);
   header.checksum = four ? MakeChecksum(packet) : 0;
   std::memcpy(packet.data(), &header, sizeof header);
   return packet;
}

// Raw sockets of IPv4 hand over the IP header too.
bool IsAnswer(bool four, std::uint16_t id, std::vector<std::uint8_t> const& packet)
{
   std::size_t const skipped = four && !packet.empty() ? (packet[0] & 0xf) * 4u : 0;
   if (packet.size() < skipped + 8) {
      return false;
   }
   icmphdr header;
   std::memcpy(&header, packet.data() + skipped, sizeof header);
   return header.type == (four ? ICMP_ECHOREPLY : ICMP6_ECHO_REPLY) && header.un.echo.id == id;
}

void ForbidFragments(int socket, bool four)
{
   int const discover = four ? IP_PMTUDISC_DO : IPV6_PMTUDISC_DO;
   setsockopt(socket, four ? IPPROTO_IP : IPPROTO_IPV6, four ? IP_MTU_DISCOVER : IPV6_MTU_DISCOVER,
              &discover, sizeof discover);
}

bool WaitForAnswer(int socket, bool four, std::uint16_t id, Clock::time_point end)
{
   std::vector<std::uint8_t> packet;
   for (;;) {
      auto const left = std::chrono::ceil<test::Milliseconds>(end - Clock::now()).count();
      pollfd watched{socket, POLLIN, 0};
      if (left <= 0 || poll(&watched, 1, static_cast<int>(left)) != 1) {
         return false;
      }
      packet.resize(65536);
      auto const length = recv(socket, packet.data(), packet.size(), MSG_DONTWAIT);
      packet.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
      if (IsAnswer(four, id, packet)) {
         return true;
      }
   }
}

} // namespace

bool Ping(Namespace const& place, std::string const& address, test::Milliseconds deadline,
          std::size_t size)
{
   static std::atomic<std::uint16_t> lastId{0};
   auto const target = place.Run([&] { return MakeSocketAddress({address, 0}); });
   bool const four = target.storage.ss_family == AF_INET;
   auto const socket = place.Run([&] {
      return base::FileDescriptor(::socket(target.storage.ss_family, SOCK_RAW | SOCK_CLOEXEC,
                                           four ? int(IPPROTO_ICMP) : int(IPPROTO_ICMPV6)));
   });
   ForbidFragments(socket.Get(), four);
   auto const id = ++lastId;
   auto const request = MakeRequest(four, id, size);
   // One that meets a port that is just coming up is lost, as anywhere.
   auto const end = Clock::now() + deadline;
   while (Clock::now() < end) {
      if (sendto(socket.Get(), request.data(), request.size(), 0, target.Get(), target.length) <
          0) {
         return false;
      }
      if (WaitForAnswer(socket.Get(), four, id, std::min(end, Clock::now() + interval))) {
         return true;
      }
   }
   return false;
}

} // namespace netlab
