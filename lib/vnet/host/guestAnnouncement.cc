// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/guestAnnouncement.hh"

#include "base/fileDescriptor.hh"
#include "vnet/host/links.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>

namespace vnet::host {

namespace {

constexpr std::size_t senderMac = ETH_HLEN + 8;
constexpr std::size_t targetMac = senderMac + 10;

std::array<std::uint8_t, ETH_ZLEN> MakeFrame(MacAddress guest)
{
   constexpr std::array<std::uint8_t, 10> head{ETH_P_RARP >> 8,
                                               ETH_P_RARP & 0xff, // EtherType
                                               0,
                                               1, // hardware: Ethernet
                                               ETH_P_IP >> 8,
                                               ETH_P_IP & 0xff, // protocol: IPv4
                                               6,
                                               4, // bytes of their addresses
                                               0,
                                               3}; // request reverse
   std::array<std::uint8_t, ETH_ZLEN> frame{};
   std::fill_n(frame.begin(), 6, 0xff);
   std::copy(head.begin(), head.end(), frame.begin() + 12);
   for (std::size_t const at : {std::size_t{6}, senderMac, targetMac}) {
      std::copy(guest.bytes.begin(), guest.bytes.end(), frame.begin() + at);
   }
   return frame;
}

} // namespace

void AnnounceGuests(Link const& device, std::vector<MacAddress> const& guests)
{
   // Protocol 0: it only sends.
   base::FileDescriptor const socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
   if (!socket.IsOpen()) {
      throw Error("announce guests by", device.name, strerror(errno));
   }
   sockaddr_ll target{};
   target.sll_family = AF_PACKET;
   target.sll_protocol = htons(ETH_P_RARP);
   target.sll_ifindex = device.index;
   for (auto const& guest : guests) {
      auto const frame = MakeFrame(guest);
      if (sendto(socket.Get(), frame.data(), frame.size(), 0,
                 reinterpret_cast<sockaddr const*>(&target), sizeof target) < 0) {
         throw Error("announce guest " + guest.ToString() + " by", device.name, strerror(errno));
      }
   }
}

} // namespace vnet::host
