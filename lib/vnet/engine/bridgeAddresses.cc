// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/bridgeAddresses.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/ours.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

namespace vnet::engine {

namespace {

using host::InterfaceAddress;
using host::Route;

bool IsSame(InterfaceAddress const& one, InterfaceAddress const& other)
{
   return one.address == other.address && one.prefixLength == other.prefixLength &&
          one.scope == other.scope;
}

bool IsSame(Route const& one, Route const& other)
{
   return one.destination == other.destination && one.prefixLength == other.prefixLength &&
          one.source == other.source && one.metric == other.metric && one.table == other.table;
}

template <class Item>
std::vector<Item> Without(std::vector<Item> items, std::vector<Item> const& others)
{
   std::erase_if(items, [&](Item const& item) {
      return std::ranges::any_of(others, [&](Item const& other) { return IsSame(item, other); });
   });
   return items;
}

InterfaceAddress Make(services::WantedAddress const& wanted)
{
   InterfaceAddress address;
   address.address = wanted.address;
   address.prefixLength = static_cast<unsigned char>(wanted.prefixLength);
   address.scope = wanted.scopeLink ? RT_SCOPE_LINK : RT_SCOPE_UNIVERSE;
   return address;
}

InterfaceAddress Make(services::WantedAddress6 const& wanted)
{
   auto const parsed = host::InetAddress::Parse(wanted.address);
   if (!parsed) {
      throw Error("add address", wanted.address, "It isn't an address");
   }
   InterfaceAddress address;
   address.address = *parsed;
   address.prefixLength = static_cast<unsigned char>(wanted.prefixLength);
   address.flags = IFA_F_NODAD;
   return address;
}

std::vector<InterfaceAddress> MakeAddresses(services::WantedNetwork const& wanted)
{
   std::vector<InterfaceAddress> addresses;
   for (auto const& address : wanted.addresses) {
      addresses.push_back(Make(address));
   }
   for (auto const& address : wanted.addresses6) {
      addresses.push_back(Make(address));
   }
   return addresses;
}

std::vector<Route> MakeRoutes(services::WantedNetwork const& wanted, int link)
{
   std::vector<Route> routes;
   for (auto const& each : wanted.routes) {
      Route route;
      route.destination = each.destination.address;
      route.prefixLength = static_cast<unsigned char>(each.destination.prefixLength);
      route.link = link;
      route.source = each.source;
      route.protocol = BridgeAddresses::ourProtocol;
      routes.push_back(route);
   }
   return routes;
}

// The route to the address's subnet, which the kernel makes with the address; empty if it makes
// none.
std::optional<Route> MakeConnected(InterfaceAddress const& each, int link)
{
   auto const address = each.address.ToAddress();
   if (!address || each.prefixLength >= 32) {
      return {};
   }
   Route route;
   route.destination = Address{address->value & ~(~std::uint32_t{0} >> each.prefixLength)};
   route.prefixLength = each.prefixLength;
   route.link = link;
   route.source = address;
   route.protocol = RTPROT_KERNEL;
   return route;
}

// Those of addresses that are there. A route of ours may have taken their place, and stayed when an
// earlier process died over it.
std::vector<Route> MakeConnected(std::vector<InterfaceAddress> const& addresses,
                                 Device const& device)
{
   std::vector<Route> routes;
   for (auto const& each : addresses) {
      auto const isSame = [&](InterfaceAddress const& other) { return IsSame(each, other); };
      auto const route = MakeConnected(each, device.link.index);
      if (route && device.link.IsUp() && std::ranges::any_of(device.addresses, isSame)) {
         routes.push_back(*route);
      }
   }
   return routes;
}

// In IPv6 the kernel gives every device an address of the link's own.
std::vector<InterfaceAddress> GetPresent(Device const& device)
{
   auto present = device.addresses;
   std::erase_if(present, [](InterfaceAddress const& address) {
      return address.address.family == AF_INET6 && address.scope >= RT_SCOPE_LINK;
   });
   return present;
}

std::vector<Route> GetPresentRoutes(Device const& device)
{
   auto present = device.routes;
   std::erase_if(present,
                 [](Route const& route) { return route.protocol != BridgeAddresses::ourProtocol; });
   return present;
}

bool Stays(host::InetAddress const& source, Device const& device,
           std::vector<InterfaceAddress> const& surplus)
{
   auto const is = [&](InterfaceAddress const& address) { return address.address == source; };
   return std::ranges::any_of(device.addresses, is) && std::ranges::none_of(surplus, is);
}

std::string ToString(InterfaceAddress const& address)
{
   return address.address.ToString() + "/" + std::to_string(address.prefixLength);
}

} // namespace

BridgeAddresses::BridgeAddresses(Host& hostOfCaller, std::string bridgeName)
   : host(hostOfCaller), bridge(std::move(bridgeName))
{}

// Someone else's device of this name counts as none: it may have come since ours was made.
Device const* BridgeAddresses::Find() const
{
   auto const* device = host.view.Find(bridge);
   return device && FindBridgeIndex(device->link) ? device : nullptr;
}

BridgeAddresses::Difference
BridgeAddresses::FindDifference(services::WantedNetwork const& wanted) const
{
   auto const* device = Find();
   if (!device) {
      return {MakeAddresses(wanted), {}, MakeRoutes(wanted, 0), {}};
   }
   auto const addresses = MakeAddresses(wanted);
   auto const routes = MakeRoutes(wanted, device->link.index);
   auto const present = GetPresent(*device);
   auto const presentRoutes = GetPresentRoutes(*device);
   auto missingRoutes = Without(MakeConnected(addresses, *device), device->routes);
   std::ranges::copy(Without(routes, presentRoutes), std::back_inserter(missingRoutes));
   return {Without(addresses, present), Without(present, addresses), missingRoutes,
           Without(presentRoutes, routes)};
}

std::vector<std::string> BridgeAddresses::Compare(services::WantedNetwork const& wanted) const
{
   auto const difference = FindDifference(wanted);
   std::vector<std::string> texts;
   for (auto const* addresses : {&difference.missing, &difference.surplus}) {
      for (auto const& address : *addresses) {
         texts.push_back("address " + ToString(address));
      }
   }
   for (auto const* routes : {&difference.missingRoutes, &difference.surplusRoutes}) {
      for (auto const& route : *routes) {
         texts.push_back("route " + route.ToString());
      }
   }
   return texts;
}

// A route whose source is there and stays comes before its place gets empty. Then what goes, goes
// first: an address may come back with another scope. The other routes come last, as their sources
// have to be there; those whose source went, went with it.
void BridgeAddresses::Apply(services::WantedNetwork const& wanted)
{
   auto const* device = Find();
   if (!device) {
      throw Error("find", bridge, "No such device");
   }
   auto const link = device->link;
   auto const first = FindDifference(wanted);
   for (auto const& route : first.missingRoutes) {
      if (Stays(*route.source, *device, first.surplus)) {
         host.routes.Add(route);
      }
   }
   for (auto const& address : first.surplus) {
      host.addresses.Remove(link, address);
   }
   for (auto const& address : first.missing) {
      host.addresses.Add(link, address);
   }
   host.view.Refresh();
   auto const second = FindDifference(wanted);
   for (auto const& route : second.surplusRoutes) {
      host.routes.Remove(route);
   }
   for (auto const& route : second.missingRoutes) {
      host.routes.Add(route);
   }
   host.view.Refresh();
}

void BridgeAddresses::Remove()
{
   if (Find()) {
      Apply({});
   }
}

} // namespace vnet::engine
