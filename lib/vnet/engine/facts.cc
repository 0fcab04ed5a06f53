// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/facts.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/place.hh"
#include "vnet/engine/settingsFile.hh"
#include "vnet/process/serviceUser.hh"

#include <algorithm>
#include <linux/rtnetlink.h>

namespace vnet::engine {

namespace {

// Every device that is up has an address of the link's own in IPv6.
bool HasAddress(Device const& device)
{
   return std::ranges::any_of(device.addresses,
                              [](auto const& address) { return address.scope < RT_SCOPE_LINK; });
}

bool IsWayOut(Device const& device)
{
   auto const& link = device.link;
   return link.IsUp() && !link.IsLoopback() && link.master == 0 && !device.isOurs &&
          (HasAddress(device) || !device.routes.empty());
}

int ReadAcceptRa(host::Sysctl const& sysctl, std::string const& device)
{
   auto const value = sysctl.Read("ipv6", device, "accept_ra");
   return value == "1" ? 1 : value == "2" ? 2 : 0;
}

std::vector<services::WayOut> ListWaysOut(Host const& host)
{
   std::vector<services::WayOut> ways;
   for (auto const& [index, device] : host.view.GetDevices()) {
      if (index > 0 && IsWayOut(device)) {
         ways.push_back({device.link.name, ReadAcceptRa(host.sysctl, device.link.name)});
      }
   }
   return ways;
}

} // namespace

services::HostFacts GatherFacts(Host const& host, Place const& place,
                                std::vector<std::string> const& nameservers)
{
   services::HostFacts facts;
   auto const user = process::FindServiceUser();
   facts.dnsmasqUser = user.user;
   facts.dnsmasqGroup = user.group;
   auto const settings = ReadHostSettings(place.configFile);
   facts.acceptedOuis.insert(facts.acceptedOuis.end(), settings.ouis.begin(), settings.ouis.end());
   facts.waysOut = ListWaysOut(host);
   facts.hasIpv6 = host.sysctl.ReadGlobal("ipv6/conf/all/disable_ipv6").has_value();
   facts.forwardsIpv6ByDevice =
      host.sysctl.ReadGlobal("ipv6/conf/all/force_forwarding").has_value();
   facts.runFolder = place.runFolder;
   facts.stateFolder = place.stateFolder;
   facts.nameservers = nameservers;
   return facts;
}

} // namespace vnet::engine
