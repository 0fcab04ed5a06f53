// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/occupied.hh"

#include "vnet/engine/hostView.hh"

#include <algorithm>
#include <linux/rtnetlink.h>

namespace vnet::engine {

namespace {

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
      if (device.network != own) {
         occupied.insert(occupied.end(), device.subnets.begin(), device.subnets.end());
      }
   }
   return occupied;
}

std::set<unsigned int> FindHolders(HostView const& view, Subnet const& subnet, unsigned int own)
{
   auto const overlaps = [&subnet](Subnet const& each) { return each.Overlaps(subnet); };
   std::set<unsigned int> holders;
   for (auto const& [index, device] : view.GetDevices()) {
      if (device.network && device.network != own &&
          std::ranges::any_of(device.subnets, overlaps)) {
         holders.insert(*device.network);
      }
   }
   return holders;
}

std::string FindForeignUser(HostView const& view, Subnet const& subnet)
{
   for (auto const& [index, device] : view.GetDevices()) {
      if (!device.network && (HasAddressIn(device, subnet) || HasRouteTo(device, subnet))) {
         return index > 0 ? device.link.name : "a route";
      }
   }
   return {};
}

} // namespace vnet::engine
