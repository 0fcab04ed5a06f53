// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/firewallZone.hh"

#include "base/log.h"
#include "vnet/engine/host.hh"
#include "vnet/values/error.hh"
#include "vnet/values/settings.hh"

#include <algorithm>
#include <utility>
#include <vector>

namespace vnet::engine {

namespace {

constexpr auto family = "inet";
constexpr auto tableName = "firewalld";
constexpr auto zoneName = "tavrin";

// A bridged network has no subnet: to it the host is but one more neighbour on the LAN.
bool NeedsZone(services::WantedNetwork const& wanted)
{
   return wanted.subnet.has_value();
}

template <class Work>
void TellFailure(Work const& work)
{
   try {
      work();
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_FAILURE, "%s\n", error.what());
   }
}

} // namespace

FirewallZone::FirewallZone(Host& hostOfCaller, std::shared_ptr<process::Zones> zonesOfHost)
   : host(hostOfCaller), zones(std::move(zonesOfHost))
{}

// Each change of a zone changes firewalld's rules, so it is asked once for each state of those.
// What changes while it is asked is seen the next time; and of one that doesn't answer, nothing is
// known until they change.
FirewallZone::Devices const& FirewallZone::Read()
{
   auto const now = host.view.GetTableGeneration(tableName);
   if (!known || generation != now) {
      known = true;
      generation = now;
      devices.clear();
      isOffered = false;
      TellFailure([this] { Ask(); });
   }
   return devices;
}

void FirewallZone::Ask()
{
   if (!zones || !host.ruleset.HasTable(family, tableName)) {
      return;
   }
   if (auto const found = zones->ListDevices()) {
      auto const all = zones->ListZones();
      isOffered = std::ranges::find(all, zoneName) != all.end();
      devices = *found;
   }
}

bool FirewallZone::IsRight(services::WantedNetwork const& wanted)
{
   return !NeedsZone(wanted) || Read().contains(wanted.bridge.name) || !isOffered;
}

void FirewallZone::Apply(services::WantedNetwork const& wanted)
{
   if (!NeedsZone(wanted)) {
      TakeOut(wanted.bridge.name);
   } else if (!IsRight(wanted)) {
      known = false;
      TellFailure([&] { zones->Add(zoneName, wanted.bridge.name); });
   }
}

// Another zone was somebody's choice.
void FirewallZone::TakeOut(std::string const& bridge)
{
   auto const& all = Read();
   auto const found = all.find(bridge);
   if (found != all.end() && found->second == zoneName) {
      known = false;
      TellFailure([&] { zones->Remove(zoneName, bridge); });
   }
}

void FirewallZone::Sweep(std::set<unsigned int> const& networks)
{
   auto const all = Read();
   for (auto const& [device, zone] : all) {
      auto const index = ParseNetworkName(device);
      if (index && !networks.contains(*index)) {
         TakeOut(device);
      }
   }
}

} // namespace vnet::engine
