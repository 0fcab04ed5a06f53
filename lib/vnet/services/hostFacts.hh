// SPDX-License-Identifier: GPL-2.0-or-later
// What a plan has to know of the host.
#pragma once

#include <string>
#include <vector>

namespace vnet::services {

// A device by which guests reach other networks.
struct WayOut {
   std::string device;
   int acceptRa = 0; // its accept_ra as it stands

   bool operator==(WayOut const&) const = default;
};

struct HostFacts {
   // Whom dnsmasq runs as. Where no other user is mapped, as in a user namespace, "root" and an
   // empty group.
   std::string dnsmasqUser = "dnsmasq";
   std::string dnsmasqGroup = "nogroup";

   // The manufacturers' halves of MAC addresses, "52:54:00", that a network takes if it doesn't
   // take all.
   std::vector<std::string> acceptedOuis = GetUsualOuis();

   // Neither lo nor our own bridges.
   std::vector<WayOut> waysOut;
   // Whether the kernel has IPv6 at all.
   bool hasIpv6 = true;
   // Whether the kernel forwards IPv6 by device (force_forwarding, Linux 6.17) instead of all or
   // nothing.
   bool forwardsIpv6ByDevice = false;

   std::string runFolder = "/run/tavrin";
   std::string stateFolder = "/var/lib/tavrin";
   // Those of the host's resolver, in its order: addresses, of a link's own "fe80::1%eth0".
   std::vector<std::string> nameservers;

   // Those of common hypervisors and their libraries.
   static std::vector<std::string> GetUsualOuis();
};

} // namespace vnet::services
