// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/decode.hh"

#include "vnet/host/netlink.hh"

#include <algorithm>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace vnet::host {

namespace {

MacAddress ReadMac(nlattr const* attribute)
{
   MacAddress mac;
   if (attribute && GetLength(attribute) == mac.bytes.size()) {
      std::memcpy(mac.bytes.data(), GetData(attribute), mac.bytes.size());
   }
   return mac;
}

std::optional<InetAddress> ReadAddress(unsigned char family, nlattr const* attribute)
{
   if (!attribute) {
      return {};
   }
   return InetAddress::FromBytes(family, GetData(attribute), GetLength(attribute));
}

// Of a route with several next hops, the first.
void ReadNextHop(Route& route, nlattr const* hops)
{
   if (!hops || GetLength(hops) < sizeof(rtnexthop)) {
      return;
   }
   auto const* hop = static_cast<rtnexthop const*>(GetData(hops));
   auto const length = std::min<std::size_t>(hop->rtnh_len, GetLength(hops));
   route.link = hop->rtnh_ifindex;
   if (length > sizeof *hop) {
      Attributes const attributes(hop + 1, length - sizeof *hop);
      route.gateway = ReadAddress(route.destination.family, attributes.Find(RTA_GATEWAY));
   }
}

} // namespace

std::optional<Link> DecodeLink(nlmsghdr const* message)
{
   auto const* header = GetHeader<ifinfomsg>(message);
   // Bridges tell about their ports in messages of their own family.
   if (!header || header->ifi_family != AF_UNSPEC) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   Link link;
   link.index = header->ifi_index;
   link.name = attributes.GetString(IFLA_IFNAME);
   link.kind = Attributes(attributes.Find(IFLA_LINKINFO)).GetString(IFLA_INFO_KIND);
   link.mac = ReadMac(attributes.Find(IFLA_ADDRESS));
   link.mtu = attributes.GetU32(IFLA_MTU);
   link.flags = header->ifi_flags;
   link.hardwareType = header->ifi_type;
   link.master = static_cast<int>(attributes.GetU32(IFLA_MASTER));
   link.alias = attributes.GetString(IFLA_IFALIAS);
   link.promiscuity = attributes.GetU32(IFLA_PROMISCUITY);
   link.carrier = attributes.GetU8(IFLA_CARRIER) != 0;
   return link;
}

std::optional<InterfaceAddress> DecodeAddress(nlmsghdr const* message)
{
   auto const* header = GetHeader<ifaddrmsg>(message);
   if (!header) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   // On a point-to-point device IFA_ADDRESS is the other side.
   auto const* own = attributes.Find(IFA_LOCAL);
   auto const address = ReadAddress(header->ifa_family, own ? own : attributes.Find(IFA_ADDRESS));
   if (!address) {
      return {};
   }
   auto const flags = attributes.Has(IFA_FLAGS) ? attributes.GetU32(IFA_FLAGS) : header->ifa_flags;
   return InterfaceAddress{static_cast<int>(header->ifa_index), *address, header->ifa_prefixlen,
                           flags, header->ifa_scope};
}

std::optional<Route> DecodeRoute(nlmsghdr const* message)
{
   auto const* header = GetHeader<rtmsg>(message);
   if (!header || (header->rtm_family != AF_INET && header->rtm_family != AF_INET6)) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   Route route;
   route.destination.family = header->rtm_family;
   if (auto const to = ReadAddress(header->rtm_family, attributes.Find(RTA_DST))) {
      route.destination = *to;
   }
   route.prefixLength = header->rtm_dst_len;
   route.link = static_cast<int>(attributes.GetU32(RTA_OIF));
   route.gateway = ReadAddress(header->rtm_family, attributes.Find(RTA_GATEWAY));
   route.source = ReadAddress(header->rtm_family, attributes.Find(RTA_PREFSRC));
   route.table = attributes.Has(RTA_TABLE) ? attributes.GetU32(RTA_TABLE) : header->rtm_table;
   route.metric = attributes.GetU32(RTA_PRIORITY);
   route.type = header->rtm_type;
   route.scope = header->rtm_scope;
   route.protocol = header->rtm_protocol;
   if (route.link == 0) {
      ReadNextHop(route, attributes.Find(RTA_MULTIPATH));
   }
   return route;
}

} // namespace vnet::host
