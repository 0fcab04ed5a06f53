// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostView.hh"

#include "vnet/engine/ours.hh"
#include "vnet/host/netlink.hh"

#include <algorithm>
#include <linux/rtnetlink.h>
#include <variant>

namespace vnet::engine {

namespace {

constexpr unsigned char halfOfAll = 1; // prefix length

Subnet Widen(Address address, unsigned char prefixLength)
{
   Subnet subnet{address, prefixLength};
   subnet.address.value &= subnet.GetMask().value;
   return subnet;
}

// Empty for one of IPv6.
std::optional<Subnet> GetSubnet(host::InterfaceAddress const& each)
{
   auto const address = each.address.ToAddress();
   return address ? std::optional(Widen(*address, each.prefixLength)) : std::nullopt;
}

// Empty for a default route.
std::optional<Subnet> GetSubnet(host::Route const& route)
{
   auto const address = route.destination.ToAddress();
   return address && route.prefixLength > halfOfAll
             ? std::optional(Widen(*address, route.prefixLength))
             : std::nullopt;
}

void FollowLink(Device& device)
{
   device.network = FindBridgeIndex(device.link);
   device.isOurs = IsOurs(device.link);
}

void FollowRoutes(Device& device)
{
   device.subnets.clear();
   device.defaultMetric.reset();
   for (auto const& each : device.addresses) {
      if (auto const subnet = GetSubnet(each)) {
         device.subnets.push_back(*subnet);
      }
   }
   for (auto const& route : device.routes) {
      if (auto const subnet = GetSubnet(route)) {
         device.subnets.push_back(*subnet);
      } else if (route.IsDefault() && route.table == RT_TABLE_MAIN) {
         device.defaultMetric = std::min(route.metric, device.defaultMetric.value_or(route.metric));
      }
   }
}

} // namespace

HostView::HostView(host::RouteSocket& socketOfCaller) : socket(socketOfCaller)
{
   // After listening began, so that no change is missed.
   Read();
}

void HostView::Read()
{
   stale = true;
   devices.clear();
   for (auto& link : host::Links(socket).List()) {
      devices[link.index].link = link;
      FollowLink(devices[link.index]);
   }
   for (auto const& address : host::Addresses(socket).List()) {
      devices[address.link].addresses.push_back(address);
   }
   ReadRoutes();
   stale = false;
}

void HostView::ReadRoutes()
{
   for (auto& entry : devices) {
      entry.second.routes.clear();
   }
   for (auto const& route : host::Routes(socket).List(AF_INET)) {
      devices[route.link].routes.push_back(route);
   }
   for (auto& entry : devices) {
      FollowRoutes(entry.second);
   }
   unsure = false;
}

void HostView::Refresh()
{
   auto const news = events.Read();
   for (auto const& event : news) {
      std::visit([this](auto const& changed) { Apply(changed); }, event);
   }
   generation += news.empty() && !stale ? 0 : 1;
   if (stale) {
      Read();
   } else if (unsure) {
      ReadRoutes();
   }
}

void HostView::Apply(host::LinkChanged const& changed)
{
   if (changed.removed) {
      devices.erase(changed.link.index);
      return;
   }
   auto& device = devices[changed.link.index];
   bool const wireless = device.link.wireless;
   device.link = changed.link;
   device.link.wireless = wireless;
   FollowLink(device);
   if (!device.link.IsUp()) {
      device.routes.clear();
      FollowRoutes(device);
   }
}

void HostView::Apply(host::AddressChanged const& changed)
{
   auto const& address = changed.address;
   auto const found = devices.find(address.link);
   if (found == devices.end()) {
      return;
   }
   auto& addresses = found->second.addresses;
   std::erase_if(addresses, [&](auto const& other) {
      return other.address == address.address && other.prefixLength == address.prefixLength;
   });
   if (!changed.removed) {
      addresses.push_back(address);
   }
   FollowRoutes(found->second);
   if (changed.removed) {
      ForgetRoutes([&](host::Route const& route) { return route.source == address.address; });
   }
}

void HostView::Apply(host::RouteChanged const& changed)
{
   auto const& route = changed.route;
   if (route.destination.family != AF_INET) {
      return;
   }
   auto const found = devices.find(route.link);
   auto* const device = found == devices.end() ? nullptr : &found->second;
   bool const forgot = device && std::erase(device->routes, route) > 0;
   if (changed.removed) {
      unsure = unsure || !forgot;
      if (device) {
         FollowRoutes(*device);
      }
      return;
   }
   // A route that takes another's place is told without the other's end, and one that is put beside
   // it is told just the same.
   unsure = unsure || HasRoute([&](host::Route const& other) {
               return other.destination == route.destination &&
                      other.prefixLength == route.prefixLength && other.table == route.table &&
                      other.metric == route.metric;
            });
   // A device that went in the meantime has none.
   if (route.link == 0 || device) {
      devices[route.link].routes.push_back(route);
      FollowRoutes(devices[route.link]);
   }
}

void HostView::Apply(host::RulesetChanged const& changed)
{
   ++tables[changed.table];
   others += changed.table.starts_with(tablePrefix) ? 0 : 1;
}

void HostView::Apply(host::EventsLost const&)
{
   ++tableEpoch;
   Read();
}

template <class Predicate>
void HostView::ForgetRoutes(Predicate const& matches)
{
   for (auto& entry : devices) {
      if (std::erase_if(entry.second.routes, matches) > 0) {
         FollowRoutes(entry.second);
      }
   }
}

template <class Predicate>
bool HostView::HasRoute(Predicate const& matches) const
{
   return std::ranges::any_of(devices, [&](auto const& entry) {
      return std::ranges::any_of(entry.second.routes, matches);
   });
}

Device const* HostView::Find(std::string const& name) const
{
   for (auto const& [index, device] : devices) {
      if (index > 0 && device.link.name == name) {
         return &device;
      }
   }
   return nullptr;
}

Device const* HostView::Find(int index) const
{
   auto const found = devices.find(index);
   return index > 0 && found != devices.end() ? &found->second : nullptr;
}

Device const* HostView::FindDefault() const
{
   Device const* best = nullptr;
   for (auto const& [index, device] : devices) {
      if (index > 0 && device.defaultMetric &&
          (!best || device.defaultMetric < best->defaultMetric)) {
         best = &device;
      }
   }
   return best;
}

std::vector<Device const*> HostView::ListPorts(int bridge) const
{
   std::vector<Device const*> ports;
   for (auto const& [index, device] : devices) {
      if (device.link.master == bridge && bridge > 0) {
         ports.push_back(&device);
      }
   }
   return ports;
}

unsigned long HostView::GetTableGeneration(std::string const& table) const
{
   auto const found = tables.find(table);
   // Two counters that only grow: their sum tells every change.
   return tableEpoch + (found == tables.end() ? 0 : found->second);
}

} // namespace vnet::engine
