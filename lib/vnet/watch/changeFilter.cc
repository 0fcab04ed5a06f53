// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/changeFilter.hh"

#include "vnet/host/patchRules.hh"
#include "vnet/values/settings.hh"

#include <algorithm>
#include <iterator>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <string_view>

namespace vnet::watch {

namespace {

constexpr std::string_view tablePrefix = "tavrin-";
// Those of Docker and other users of iptables, and firewalld's.
constexpr std::string_view neighbours[] = {"filter", "firewalld"};

bool Differs(host::Link const& one, host::Link const& other)
{
   constexpr unsigned int flags = IFF_UP | IFF_PROMISC;
   return one.name != other.name || one.kind != other.kind || one.mac != other.mac ||
          one.mtu != other.mtu || one.master != other.master || one.alias != other.alias ||
          one.carrier != other.carrier || (one.flags & flags) != (other.flags & flags);
}

} // namespace

void ChangeFilter::Learn(std::vector<host::Link> const& links,
                         std::vector<host::InterfaceAddress> const& addresses,
                         std::vector<host::Route> const& routes)
{
   devices.clear();
   for (auto const& link : links) {
      devices[link.index].link = link;
   }
   for (auto const& address : addresses) {
      if (auto const found = devices.find(address.link); found != devices.end()) {
         found->second.addresses.emplace(address.address, address.prefixLength);
      }
   }
   for (auto const& route : routes) {
      if (auto const found = devices.find(route.link); found != devices.end()) {
         found->second.hasRoutes = true;
      }
   }
}

void ChangeFilter::Look(host::Event const& event, Findings& findings)
{
   std::visit([&](auto const& changed) { LookAt(changed, findings); }, event);
}

void ChangeFilter::LookAt(host::LinkChanged const& changed, Findings& findings)
{
   auto const& link = changed.link;
   auto const known = devices.find(link.index);
   if (changed.removed) {
      findings.host |= known != devices.end();
      devices.erase(link.index);
      return;
   }
   bool const isNew = known == devices.end();
   auto& device = devices[link.index];
   if (link.carrier && (isNew || !device.link.carrier)) {
      findings.carriers.insert(link.name);
   }
   findings.host |= isNew || Differs(link, device.link);
   device.link = link;
   // The kernel drops a device's routes with it and doesn't tell of each.
   device.hasRoutes &= link.IsUp();
}

void ChangeFilter::LookAt(host::AddressChanged const& changed, Findings& findings)
{
   auto const& address = changed.address;
   auto const found = devices.find(address.link);
   if (found == devices.end()) {
      return;
   }
   // An address that is told again only has a new lifetime.
   AddressKey const key{address.address, address.prefixLength};
   auto& known = found->second.addresses;
   findings.host |= changed.removed ? known.erase(key) != 0 : known.insert(key).second;
}

// Default routes choose adapters, routes by our bridges are ours to keep, and a device's first IPv4
// route makes it a way out. All others are between the host and the rest of the world.
void ChangeFilter::LookAt(host::RouteChanged const& changed, Findings& findings)
{
   auto const& route = changed.route;
   if (route.table == RT_TABLE_LOCAL) {
      return;
   }
   auto const found = devices.find(route.link);
   bool const isFirst = !changed.removed && route.destination.family == AF_INET &&
                        found != devices.end() && !found->second.hasRoutes;
   if (isFirst) {
      found->second.hasRoutes = true;
   }
   findings.host |= route.IsDefault() || isFirst || (changed.removed && IsOurs(route.link));
}

// What stands among the rules of others is compared, and so is what they let pass.
void ChangeFilter::LookAt(host::RulesetChanged const& changed, Findings& findings) const
{
   if (changed.process == self) {
      return;
   }
   findings.host |= std::ranges::find(neighbours, changed.table) != std::end(neighbours);
   if (!changed.table.starts_with(tablePrefix)) {
      return;
   }
   if (auto const index = ParseNetworkName(changed.table.substr(tablePrefix.size()))) {
      findings.networks.insert(*index);
   } else if (host::ParsePatchTable(changed.table)) {
      findings.patches = true;
   } else {
      return;
   }
   findings.intruder = changed.process;
}

void ChangeFilter::LookAt(host::EventsLost const&, Findings& findings)
{
   findings.host = true;
   findings.patches = true;
   findings.lost = true;
}

bool ChangeFilter::IsOurs(int link) const
{
   auto const found = devices.find(link);
   return found != devices.end() && ParseNetworkName(found->second.link.name);
}

} // namespace vnet::watch
