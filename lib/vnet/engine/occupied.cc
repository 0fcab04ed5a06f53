// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/occupied.hh"

#include "vnet/engine/hostView.hh"
#include "vnet/engine/ours.hh"

#include <linux/rtnetlink.h>

namespace vnet::engine {

namespace {

constexpr unsigned char halfOfAll = 1; // prefix length

Subnet Widen(Address address, unsigned char prefixLength)
{
   Subnet subnet{address, prefixLength};
   subnet.address.value &= subnet.GetMask().value;
   return subnet;
}

std::vector<Subnet> ListAddresses(Device const& device)
{
   std::vector<Subnet> subnets;
   for (auto const& each : device.addresses) {
      if (auto const address = each.address.ToAddress()) {
         subnets.push_back(Widen(*address, each.prefixLength));
      }
   }
   return subnets;
}

std::vector<Subnet> ListRoutes(Device const& device)
{
   std::vector<Subnet> subnets;
   for (auto const& route : device.routes) {
      auto const address = route.destination.ToAddress();
      if (address && route.prefixLength > halfOfAll) {
         subnets.push_back(Widen(*address, route.prefixLength));
      }
   }
   return subnets;
}

bool OverlapsAny(std::vector<Subnet> const& subnets, Subnet const& subnet)
{
   for (auto const& each : subnets) {
      if (each.Overlaps(subnet)) {
         return true;
      }
   }
   return false;
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
      if (FindBridgeIndex(device.link) == own) {
         continue;
      }
      for (auto const& subnets : {ListAddresses(device), ListRoutes(device)}) {
         occupied.insert(occupied.end(), subnets.begin(), subnets.end());
      }
   }
   return occupied;
}

std::set<unsigned int> FindHolders(HostView const& view, Subnet const& subnet, unsigned int own)
{
   std::set<unsigned int> holders;
   for (auto const& [index, device] : view.GetDevices()) {
      auto const network = FindBridgeIndex(device.link);
      if (network && network != own &&
          (OverlapsAny(ListAddresses(device), subnet) || OverlapsAny(ListRoutes(device), subnet))) {
         holders.insert(*network);
      }
   }
   return holders;
}

std::string FindForeignUser(HostView const& view, Subnet const& subnet)
{
   for (auto const& [index, device] : view.GetDevices()) {
      if (!FindBridgeIndex(device.link) &&
          (HasAddressIn(device, subnet) || HasRouteTo(device, subnet))) {
         return index > 0 ? device.link.name : "a route";
      }
   }
   return {};
}

} // namespace vnet::engine
