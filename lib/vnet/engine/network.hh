// SPDX-License-Identifier: GPL-2.0-or-later
// One network on the host.
#pragma once

#include "vnet/engine/bridgeAddresses.hh"
#include "vnet/engine/bridgeDevice.hh"
#include "vnet/engine/dnsmasqService.hh"
#include "vnet/engine/notes.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/services/wanted.hh"

#include <string>
#include <vector>

namespace vnet::engine {

class Bridging;
class DockerChain;
class FirewallZone;
class HostSwitches;
class Rules;
struct Host;

// What networks share.
struct Shared {
   Host& host;
   Rules& rules;
   Bridging& bridging;
   DockerChain& docker;
   FirewallZone& zone;
   HostSwitches& switches;
   services::HostFacts const& facts;
   std::shared_ptr<process::Units> units;
};

// Every step compares first and does no more than it has to.
class Network {
public:
   Network(Shared const& parts, unsigned int networkIndex);

   // Makes it what is wanted. Steps on which others depend for safety end it when they fail: no
   // address without rules, no adapter while our DHCP could answer there. After other failures it
   // carries on. Throws Error with all of them.
   void Apply(services::WantedNetwork const& wanted);
   // What isn't as wanted, each with its object.
   std::vector<std::string> Compare(services::WantedNetwork const& wanted);
   // Removes all that is ours, and carries on after a failure. Throws Error with all of them.
   void Remove();
   void ForgetLeases() { dnsmasq.ForgetLeases(); }

   // Whether someone else's device has the bridge's name.
   bool IsForeign() const { return bridge.IsForeign(); }
   bool RunsDnsmasq() const { return dnsmasq.IsRunning(); }
   // Why none runs that should; empty if that isn't known.
   std::string RemarkDnsmasq() const { return dnsmasq.Remark(); }
   // What is plugged into the bridge beside an adapter.
   std::vector<std::string> ListPlugged() const { return bridge.ListPlugged(); }
   Notes const& GetNotes() const { return notes; }

private:
   Shared shared;
   unsigned int index;
   std::string name;
   Notes notes;
   BridgeDevice bridge;
   BridgeAddresses addresses;
   DnsmasqService dnsmasq;

   void SetSwitches(services::WantedNetwork const& wanted);
   bool HasSwitches(services::WantedNetwork const& wanted);
   // Returns those whose flows were forgotten.
   std::vector<services::WantedForward> SettleForwards(services::WantedNetwork const& wanted);
};

} // namespace vnet::engine
