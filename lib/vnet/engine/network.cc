// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/network.hh"

#include "base/log.h"
#include "vnet/engine/bridging.hh"
#include "vnet/engine/dockerChain.hh"
#include "vnet/engine/failures.hh"
#include "vnet/engine/firewallZone.hh"
#include "vnet/engine/forwardFlows.hh"
#include "vnet/engine/host.hh"
#include "vnet/engine/hostSwitches.hh"
#include "vnet/engine/rules.hh"

#include <algorithm>

namespace vnet::engine {

namespace {

using services::WantedForward;
using services::WantedNetwork;
using services::WantedSysctl;

// What tells our bridge.
services::WantedBridge MakeBridge(unsigned int index)
{
   services::WantedBridge bridge;
   bridge.name = GetNetworkName(index);
   bridge.mac = services::GetBridgeMac(index);
   bridge.alias = services::GetTableName(index);
   return bridge;
}

std::vector<WantedSysctl> Select(std::vector<WantedSysctl> all, bool ofHost)
{
   std::erase_if(all, [ofHost](WantedSysctl const& each) { return each.ofHost != ofHost; });
   return all;
}

// A device without IPv6, by its MTU or the kernel's, lacks these switches and is just as good.
bool IsMoot(WantedSysctl const& wanted)
{
   return wanted.family == "ipv6" &&
          (wanted.name == "disable_ipv6" ? wanted.value == "1" : wanted.value == "0");
}

bool IsSet(host::Sysctl const& sysctl, WantedSysctl const& wanted)
{
   auto const value = sysctl.Read(wanted.family, wanted.device, wanted.name);
   return value ? value == wanted.value : IsMoot(wanted);
}

// Those on ports that none of the others has.
std::vector<WantedForward> OnNewPorts(std::vector<WantedForward> forwards,
                                      std::vector<WantedForward> const& others)
{
   std::erase_if(forwards, [&](WantedForward const& forward) {
      return std::ranges::any_of(others, [&](WantedForward const& other) {
         return other.tcp == forward.tcp && other.hostPort == forward.hostPort;
      });
   });
   return forwards;
}

} // namespace

Network::Network(Shared const& parts, unsigned int networkIndex)
   : shared(parts), index(networkIndex), name(GetNetworkName(index)),
     notes(shared.facts.runFolder, index), bridge(shared.host, MakeBridge(index)),
     addresses(shared.host, name), dnsmasq(shared.host, name, shared.facts, shared.units)
{}

void Network::Apply(WantedNetwork const& wanted)
{
   BridgeDevice device(shared.host, wanted.bridge);
   shared.bridging.Release(wanted);
   if (!wanted.dnsmasq) {
      dnsmasq.Apply({});
   }
   device.Apply();
   bool const renewed = shared.rules.Apply(index, wanted.ruleset, notes);
   Failures failures;
   failures.Try([&] { SetSwitches(wanted); });
   bool const bare = failures.Try([&] { addresses.Apply(wanted); });
   if (wanted.dnsmasq) {
      failures.Try([&] { dnsmasq.Apply(wanted.dnsmasq); });
   }
   std::vector<WantedForward> settled;
   failures.Try([&] { settled = SettleForwards(wanted); });
   if (renewed) {
      // Flows that began while there were no rules stay as they began. Those of changed forwards
      // are gone by now, and the next look at all flows of the host takes as long as the first.
      auto const others = OnNewPorts(wanted.forwards, settled);
      failures.Try([&] { ForgetUntranslated(shared.host, others); });
   }
   failures.Try([&] { shared.docker.Apply(wanted, shared.facts); });
   shared.zone.Apply(wanted);
   if (bare) {
      failures.Try([&] { shared.bridging.Apply(wanted, notes); });
   }
   failures.Throw("run", name);
}

void Network::SetSwitches(WantedNetwork const& wanted)
{
   Failures failures;
   failures.Try([&] { shared.switches.Use(index, Select(wanted.sysctls, true)); });
   for (auto const& each : Select(wanted.sysctls, false)) {
      if (!IsSet(shared.host.sysctl, each)) {
         failures.Try(
            [&] { shared.host.sysctl.Write(each.family, each.device, each.name, each.value); });
      }
   }
   failures.Throw("set switches of", name);
}

bool Network::HasSwitches(WantedNetwork const& wanted)
{
   return shared.switches.HasAll(index, Select(wanted.sysctls, true)) &&
          std::ranges::all_of(Select(wanted.sysctls, false), [this](WantedSysctl const& each) {
             return IsSet(shared.host.sysctl, each);
          });
}

// The note comes last: until then the flows aren't dealt with.
std::vector<WantedForward> Network::SettleForwards(WantedNetwork const& wanted)
{
   auto const before = notes.ReadForwards();
   auto const changed = GetChanged(before, wanted.forwards);
   if (changed.empty()) {
      return {};
   }
   for (auto const& forward : ListShadowing(OnNewPorts(wanted.forwards, before))) {
      Warning("forward %s port %u to %s: a service of this host has the port, and isn't reached by "
              "it any more\n",
              forward.tcp ? "TCP" : "UDP", static_cast<unsigned int>(forward.hostPort),
              name.c_str());
   }
   ForgetFlows(shared.host, changed);
   notes.WriteForwards(wanted.forwards);
   return changed;
}

std::vector<std::string> Network::Compare(WantedNetwork const& wanted)
{
   auto differences = BridgeDevice(shared.host, wanted.bridge).Compare();
   auto const more = addresses.Compare(wanted);
   differences.insert(differences.end(), more.begin(), more.end());
   if (!shared.rules.Run(index, wanted.ruleset, notes)) {
      differences.push_back("rules");
   }
   if (!shared.docker.IsRight(wanted, shared.facts)) {
      differences.push_back("rules among Docker's");
   }
   if (!shared.zone.IsRight(wanted)) {
      differences.push_back("firewalld's zone");
   }
   if (!HasSwitches(wanted)) {
      differences.push_back("switches");
   }
   if (!dnsmasq.Runs(wanted.dnsmasq)) {
      differences.push_back("dnsmasq");
   }
   if (!shared.bridging.IsRight(wanted, notes)) {
      differences.push_back("adapter");
   }
   return differences;
}

// The rules guard the host as long as the bridge is there.
void Network::Remove()
{
   Failures failures;
   WantedNetwork nothing;
   nothing.bridge.name = name;
   failures.Try([&] { shared.bridging.Release(nothing); });
   failures.Try([&] { dnsmasq.Apply({}); });
   failures.Try([&] { bridge.Remove(); });
   failures.Try([&] { ForgetFlows(shared.host, notes.ReadForwards()); });
   failures.Try([&] { shared.switches.Use(index, {}); });
   failures.Try([&] { shared.docker.Remove(index); });
   failures.Try([&] { shared.rules.Remove(index); });
   if (failures.IsEmpty()) {
      failures.Try([&] { notes.Remove(); });
   }
   failures.Throw("remove", name);
}

} // namespace vnet::engine
