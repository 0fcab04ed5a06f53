// SPDX-License-Identifier: GPL-2.0-or-later
// The IP addresses of this namespace's devices.
#pragma once

#include "vnet/host/inetAddress.hh"

#include <vector>

namespace vnet::host {

class RouteSocket;
struct Link;

struct InterfaceAddress {
   int link = 0; // index of the device
   InetAddress address;
   unsigned char prefixLength = 0;
   // IFA_F_ flags. IFA_F_NODAD uses an IPv6 address at once; IFA_F_NOPREFIXROUTE adds no route.
   unsigned int flags = 0;
   unsigned char scope = 0; // RT_SCOPE_
};

// Every failure throws Error.
class Addresses {
public:
   explicit Addresses(RouteSocket& socketOfCaller) : socket(socketOfCaller) {}

   std::vector<InterfaceAddress> List();
   std::vector<InterfaceAddress> List(Link const& link);
   // One that is there already with this prefix length is updated. IPv4 gets a broadcast address if
   // the prefix has room for one.
   void Add(Link const& link, InterfaceAddress const& address);
   // One that isn't there is no failure. Removing the first IPv4 address of a subnet removes the
   // others of that subnet and prefix length, unless promote_secondaries is on.
   void Remove(Link const& link, InterfaceAddress const& address);

private:
   RouteSocket& socket;
};

} // namespace vnet::host
