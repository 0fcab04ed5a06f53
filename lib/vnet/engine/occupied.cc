// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/occupied.hh"

#include "vnet/engine/hostView.hh"
#include "vnet/engine/ours.hh"

#include <algorithm>
#include <linux/rtnetlink.h>
#include <optional>

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

// Calls `look` with each subnet that the device has an address in or a route to, until it returns
// true. Returns whether it did.
template <class Look>
bool AnySubnet(Device const& device, Look const& look)
{
   auto const fits = [&look](auto const& each) {
      auto const subnet = GetSubnet(each);
      return subnet && look(*subnet);
   };
   return std::ranges::any_of(device.addresses, fits) || std::ranges::any_of(device.routes, fits);
}

bool HasAddressIn(Device const& device, Subnet const& subnet)
{
   for (auto const& each : device.addresses) {
      auto const address = each.address.ToAddress();
      if (address && subnet.Contains(*address)) {
         return true;
      }
   }
   return false;
}

bool HasRouteTo(Device const& device, Subnet const& subnet)
{
   for (auto const& route : device.routes) {
      if (route.type == RTN_UNICAST && route.table == RT_TABLE_MAIN &&
          route.destination.ToAddress() == subnet.address &&
          route.prefixLength == subnet.prefixLength) {
         return true;
      }
   }
   return false;
}

} // namespace

std::vector<Subnet> ListOccupied(HostView const& view, unsigned int own)
{
   std::vector<Subnet> occupied;
   for (auto const& [index, device] : view.GetDevices()) {
      if (FindBridgeIndex(device.link) != own) {
         AnySubnet(device, [&occupied](Subnet const& each) {
            occupied.push_back(each);
            return false;
         });
      }
   }
   return occupied;
}

std::set<unsigned int> FindHolders(HostView const& view, Subnet const& subnet, unsigned int own)
{
   auto const overlaps = [&subnet](Subnet const& each) { return each.Overlaps(subnet); };
   std::set<unsigned int> holders;
   for (auto const& [index, device] : view.GetDevices()) {
      auto const network =
         AnySubnet(device, overlaps) ? FindBridgeIndex(device.link) : std::nullopt;
      if (network && network != own) {
         holders.insert(*network);
      }
   }
   return holders;
}

std::string FindForeignUser(HostView const& view, Subnet const& subnet)
{
   for (auto const& [index, device] : view.GetDevices()) {
      if ((HasAddressIn(device, subnet) || HasRouteTo(device, subnet)) &&
          !FindBridgeIndex(device.link)) {
         return index > 0 ? device.link.name : "a route";
      }
   }
   return {};
}

} // namespace vnet::engine
