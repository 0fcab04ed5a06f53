// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/sysctls.hh"

#include "vnet/services/hostFacts.hh"

namespace vnet::services {

namespace {

using Sysctls = std::vector<WantedSysctl>;

// Each kind of network sets every switch, as a network may change its kind while its bridge stays.
struct BridgeSwitches {
   char const* arpIgnore; // 1: answers for the bridge's own addresses only; 8: for none
   bool forwarding = false;
   bool routeLocalnet = false;
};

void AddIpv4(Sysctls& sysctls, std::string const& device, BridgeSwitches const& switches)
{
   auto const add = [&](char const* name, std::string const& value) {
      sysctls.push_back({"ipv4", device, name, value});
   };
   add("arp_ignore", switches.arpIgnore);
   add("forwarding", switches.forwarding ? "1" : "0");
   add("route_localnet", switches.routeLocalnet ? "1" : "0");
   add("accept_redirects", "0");
   add("send_redirects", "0");
}

void AddNoIpv6(Sysctls& sysctls, std::string const& device, bool forwardsByDevice)
{
   sysctls.push_back({"ipv6", device, "disable_ipv6", "1"});
   sysctls.push_back({"ipv6", device, "forwarding", "0"});
   if (forwardsByDevice) {
      sysctls.push_back({"ipv6", device, "force_forwarding", "0"});
   }
}

// The host is a router here: it believes no guest's advertisements. As a router's neighbour
// advertisements must say so, forwarding is set on the bridge in any case.
void AddIpv6(Sysctls& sysctls, std::string const& device, bool forwardsByDevice)
{
   for (auto const* name : {"accept_ra", "autoconf", "accept_redirects", "accept_dad"}) {
      sysctls.push_back({"ipv6", device, name, "0"});
   }
   sysctls.push_back({"ipv6", device, "forwarding", "1"});
   if (forwardsByDevice) {
      sysctls.push_back({"ipv6", device, "force_forwarding", "1"});
   }
   sysctls.push_back({"ipv6", device, "disable_ipv6", "0"});
}

void AddHostIpv4(Sysctls& sysctls, HostFacts const& facts)
{
   for (auto const& way : facts.waysOut) {
      sysctls.push_back({"ipv4", way.device, "forwarding", "1", true});
   }
}

void AddHostIpv6(Sysctls& sysctls, HostFacts const& facts)
{
   // When any device begins to forward, the host forgets the routers that advertise to it, but for
   // those of devices that insist.
   for (auto const& way : facts.waysOut) {
      if (way.acceptRa > 0) {
         sysctls.push_back({"ipv6", way.device, "accept_ra", "2", true});
      }
   }
   if (!facts.forwardsIpv6ByDevice) {
      sysctls.push_back({"ipv6", "all", "forwarding", "1", true});
      return;
   }
   for (auto const& way : facts.waysOut) {
      sysctls.push_back({"ipv6", way.device, "force_forwarding", "1", true});
   }
}

} // namespace

Sysctls MakeSilentSysctls(std::string const& device, HostFacts const& facts)
{
   Sysctls sysctls;
   AddIpv4(sysctls, device, {.arpIgnore = "8"});
   if (facts.hasIpv6) {
      AddNoIpv6(sysctls, device, facts.forwardsIpv6ByDevice);
   }
   return sysctls;
}

Sysctls MakeSysctls(std::string const& device, Layout const& layout, bool localForwards,
                    HostFacts const& facts)
{
   Sysctls sysctls;
   bool const nat = layout.gateway.has_value();
   if (nat) {
      AddHostIpv4(sysctls, facts);
   }
   if (layout.ipv6) {
      AddHostIpv6(sysctls, facts);
   }
   AddIpv4(sysctls, device, {"1", nat, localForwards});
   if (layout.ipv6) {
      AddIpv6(sysctls, device, facts.forwardsIpv6ByDevice);
   } else if (facts.hasIpv6) {
      AddNoIpv6(sysctls, device, facts.forwardsIpv6ByDevice);
   }
   return sysctls;
}

} // namespace vnet::services
