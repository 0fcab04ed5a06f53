// SPDX-License-Identifier: GPL-2.0-or-later
// Who has which address in a network.
#pragma once

#include "vnet/values/settings.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::services {

struct Range {
   Address begin;
   Address end; // included

   bool operator==(Range const&) const = default;
};

struct Layout6 {
   Prefix6 prefix;
   std::optional<std::string> adapter;
   std::string gateway;
   std::string rangeBegin;
   std::string rangeEnd;

   // Guests can make themselves an address (RFC 4862, 5.5.3).
   bool IsAutonomous() const { return prefix.length == 64; }
};

// A service that the network doesn't use has no address.
struct Layout {
   Subnet subnet;
   std::optional<Address> adapter;
   std::optional<Address> gateway;
   std::optional<Address> server; // answers DHCP and DNS
   std::vector<Range> ranges;     // leased by DHCP
   std::optional<Layout6> ipv6;

   // Whether the address is a guest's.
   bool IsGuest(Address address) const;
};

// The first host is the host's adapter, the second the gateway, the last the DHCP server, and the
// upper half before it is leased; a /24 has .1, .2, .254 and .128 to .253. The user may set the
// gateway and the range. An address that the user gave as the gateway is left out of all others,
// which then take the next one. A range leases none of them, whether in use or not: what is unused
// now may be used tomorrow.
//
// A /30 holds one of them besides a guest: DHCP goes first, then the host's adapter if there is a
// gateway. Smaller subnets hold nothing, and neither do those with loopback, multicast or reserved
// addresses: for them the result is empty. What can't be had is told in remarks.
std::optional<Layout> LayOut(NetworkSettings const& settings, std::string const& name, bool hasIpv6,
                             std::vector<std::string>& remarks);

} // namespace vnet::services
