// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/sockets.hh"

#include <arpa/inet.h>
#include <cstring>
#include <iterator>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

namespace vnet::host {

namespace {

constexpr std::uint32_t allStates = ~0U;

Request MakeRequest(unsigned char family, unsigned char protocol)
{
   Request request(SOCK_DIAG_BY_FAMILY, 0);
   inet_diag_req_v2 header{};
   header.sdiag_family = family;
   header.sdiag_protocol = protocol;
   header.idiag_states = protocol == IPPROTO_TCP ? 1U << TCP_LISTEN : allStates;
   request.Append(header);
   return request;
}

std::uint64_t GetU64(Attributes const& attributes, int number)
{
   std::uint64_t value = 0;
   auto const* const found = attributes.Find(number);
   if (found && GetLength(found) >= sizeof value) {
      std::memcpy(&value, GetData(found), sizeof value);
   }
   return value;
}

// What of IPv4 reaches it: an IPv6 socket for all addresses takes IPv4 along, unless told.
bool TakesIpv4(inet_diag_msg const& message, Attributes const& attributes)
{
   if (message.idiag_family == AF_INET) {
      return true;
   }
   in6_addr address;
   std::memcpy(&address, message.id.idiag_src, sizeof address);
   return IN6_IS_ADDR_UNSPECIFIED(&address) && attributes.GetU8(INET_DIAG_SKV6ONLY) == 0;
}

std::optional<Socket> Decode(nlmsghdr const* message, bool tcp)
{
   auto const* const header = GetHeader<inet_diag_msg>(message);
   Attributes const attributes(message, sizeof(inet_diag_msg));
   if (!header || !TakesIpv4(*header, attributes)) {
      return {};
   }
   Socket socket;
   socket.tcp = tcp;
   if (header->idiag_family == AF_INET && header->id.idiag_src[0] != 0) {
      socket.address = Address{ntohl(header->id.idiag_src[0])};
   }
   socket.port = ntohs(header->id.idiag_sport);
   socket.link = static_cast<int>(header->id.idiag_if);
   socket.cgroup = GetU64(attributes, INET_DIAG_CGROUP_ID);
   socket.mark = attributes.GetU32(INET_DIAG_MARK);
   return socket;
}

} // namespace

Sockets::Sockets() : socket(NETLINK_SOCK_DIAG) {}

std::vector<Socket> Sockets::List()
{
   std::vector<Socket> all;
   for (bool const tcp : {true, false}) {
      for (unsigned char const family : {AF_INET, AF_INET6}) {
         auto request = MakeRequest(family, tcp ? IPPROTO_TCP : IPPROTO_UDP);
         auto const decode = [tcp](nlmsghdr const* message) { return Decode(message, tcp); };
         auto const found = socket.Collect(request, "sockets", decode);
         all.insert(all.end(), found.begin(), found.end());
      }
   }
   return all;
}

} // namespace vnet::host
