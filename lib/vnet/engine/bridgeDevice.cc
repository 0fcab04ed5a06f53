// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/bridgeDevice.hh"

#include "vnet/engine/host.hh"
#include "vnet/engine/ours.hh"
#include "vnet/values/error.hh"

namespace vnet::engine {

namespace {

constexpr std::uint32_t standardMtu = 1500;

} // namespace

BridgeDevice::BridgeDevice(Host& hostOfCaller, services::WantedBridge bridge)
   : host(hostOfCaller), wanted(std::move(bridge))
{}

// A process died before it came to the alias. The address says that it was one of ours.
// The kernel doesn't tell of an alias that a device got while it is down, so it is asked.
bool BridgeDevice::IsHalfMade(Device const& device) const
{
   if (!device.link.IsBridge() || !device.link.alias.empty() ||
       device.link.mac != host::MacAddress{wanted.mac}) {
      return false;
   }
   auto const now = host.links.Find(device.link.index);
   return now && now->alias.empty();
}

Device const* BridgeDevice::Find() const
{
   auto const* device = host.view.Find(wanted.name);
   return device && (FindBridgeIndex(device->link) || IsHalfMade(*device)) ? device : nullptr;
}

bool BridgeDevice::IsForeign() const
{
   return host.view.Find(wanted.name) && !Find();
}

std::vector<std::string> BridgeDevice::ListPlugged() const
{
   std::vector<std::string> plugged;
   auto const* bridge = Find();
   for (auto const* port : host.view.ListPorts(bridge ? bridge->link.index : 0)) {
      if (!IsPatch(port->link)) {
         plugged.push_back(port->link.name);
      }
   }
   return plugged;
}

std::vector<std::string> BridgeDevice::Compare() const
{
   auto const* device = Find();
   if (!device || IsHalfMade(*device)) {
      return {"bridge " + wanted.name};
   }
   std::vector<std::string> differences;
   auto const& link = device->link;
   if (link.mac != host::MacAddress{wanted.mac}) {
      differences.push_back("MAC address of " + wanted.name);
   }
   if (wanted.mtu && link.mtu != *wanted.mtu) {
      differences.push_back("MTU of " + wanted.name);
   }
   if (!link.IsUp()) {
      differences.push_back("state of " + wanted.name);
   }
   return differences;
}

void BridgeDevice::Apply()
{
   if (IsForeign()) {
      throw Error("make bridge", wanted.name, "Someone else's device has this name");
   }
   host::MacAddress const mac{wanted.mac};
   auto const* device = Find();
   if (!device || IsHalfMade(*device)) {
      host.links.CreateBridge({wanted.name, mac, wanted.mtu.value_or(standardMtu), wanted.alias});
      host.view.Refresh();
      return;
   }
   auto const link = device->link;
   if (link.mac != mac) {
      host.links.SetMac(link, mac);
   }
   if (wanted.mtu && link.mtu != *wanted.mtu) {
      host.links.SetMtu(link, *wanted.mtu);
   }
   if (!link.IsUp()) {
      host.links.SetUp(link, true);
   }
   host.view.Refresh();
}

void BridgeDevice::Remove()
{
   if (auto const* device = Find()) {
      host.links.Delete(device->link);
      host.view.Refresh();
   }
}

} // namespace vnet::engine
