// SPDX-License-Identifier: GPL-2.0-or-later
// The routes of this namespace, of all tables.
#pragma once

#include "vnet/host/inetAddress.hh"

#include <cstdint>
#include <linux/rtnetlink.h>
#include <optional>
#include <vector>

namespace vnet::host {

class RouteSocket;

struct Route {
   InetAddress destination; // unspecified with prefix length 0: the default route
   unsigned char prefixLength = 0;
   int link = 0; // index of the device it leaves by (the first of several), or 0
   std::optional<InetAddress> gateway;
   std::optional<InetAddress> source; // the preferred one of this host
   std::uint32_t table = RT_TABLE_MAIN;
   std::uint32_t metric = 0;
   unsigned char type = RTN_UNICAST;
   unsigned char scope = RT_SCOPE_LINK;
   unsigned char protocol = RTPROT_STATIC;

   bool IsDefault() const { return prefixLength == 0 && type == RTN_UNICAST; }
   // "192.168.8.0/24"
   std::string ToString() const;

   bool operator==(Route const&) const = default;
};

// Every failure throws Error.
class Routes {
public:
   explicit Routes(RouteSocket& socketOfCaller) : socket(socketOfCaller) {}

   // AF_INET or AF_INET6; every table, policy tables and the local table too.
   std::vector<Route> List(unsigned char family);
   // The default route of the main table with the lowest metric that leaves by a device.
   std::optional<Route> FindDefault(unsigned char family);
   // One that is there already is replaced.
   void Add(Route const& route);
   // One that isn't there is no failure.
   void Remove(Route const& route);

private:
   RouteSocket& socket;
};

} // namespace vnet::host
