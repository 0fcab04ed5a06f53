// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's connection tracking table.
#pragma once

#include "vnet/host/inetAddress.hh"
#include "vnet/host/netlink.hh"

#include <compare>
#include <cstdint>
#include <functional>
#include <set>
#include <vector>

namespace vnet::host {

// One direction of a flow.
struct Tuple {
   InetAddress source;
   InetAddress destination;
   std::uint16_t sourcePort = 0; // 0 for protocols without ports
   std::uint16_t destinationPort = 0;

   bool operator==(Tuple const&) const = default;
};

struct Flow {
   unsigned char protocol = 0; // IPPROTO_
   Tuple original;             // as the first packet came
   Tuple reply;                // as answers come, so after translation
   std::uint32_t status = 0;   // IPS_
   std::uint32_t timeout = 0;  // seconds left
   std::uint16_t zone = 0;
   std::uint32_t id = 0;

   bool IsTranslated() const;
};

// A port of TCP, or else of UDP.
struct HostPort {
   bool tcp = true;
   std::uint16_t number = 0;

   auto operator<=>(HostPort const&) const = default;
};

// Every failure throws Error.
class Conntrack {
public:
   Conntrack();

   // Flows of one family; IPv4 and IPv6 if AF_UNSPEC.
   std::vector<Flow> List(unsigned char family = 0);
   // Forgets the flows for which `matches` is true. Returns how many. A flow that ended in the
   // meantime is no failure.
   unsigned int Delete(std::function<bool(Flow const&)> const& matches);
   // Forgets the IPv4 flows that were first sent to one of `ports` of one of `hostAddresses` or of
   // the loopback network, translated or not: a translation is decided on a flow's first packet, so
   // flows keep what held before a port forward changed. Returns how many.
   unsigned int FlushForwards(std::set<HostPort> const& ports,
                              std::set<Address> const& hostAddresses);
   // The same of those that aren't translated alone.
   unsigned int FlushUntranslated(std::set<HostPort> const& ports,
                                  std::set<Address> const& hostAddresses);

private:
   NetlinkSocket socket;

   bool DeleteOne(Flow const& flow);
};

} // namespace vnet::host
