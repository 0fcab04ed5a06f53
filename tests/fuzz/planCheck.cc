// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/planCheck.hh"

#include "fuzz/dnsmasqGrammar.hh"
#include "fuzz/require.hh"
#include "fuzz/rulesetGrammar.hh"
#include "vnet/services/plan.hh"

#include <set>

namespace fuzz {

namespace {

using vnet::services::HostFacts;
using vnet::services::WantedNetwork;

std::vector<HostFacts> MakeFacts()
{
   HostFacts usual;
   usual.waysOut = {{"eth0", 1}, {"tun0", 0}};
   usual.nameservers = {"192.0.2.53", "fe80::1%eth0"};
   usual.acceptedOuis.push_back("52:54:00 } drop");
   HostFacts bare;
   bare.dnsmasqUser = "root";
   bare.dnsmasqGroup = "";
   bare.hasIpv6 = false;
   HostFacts byDevice = usual;
   byDevice.forwardsIpv6ByDevice = true;
   byDevice.acceptedOuis.clear();
   return {usual, bare, byDevice};
}

// Switches are files: a name leads nowhere else.
std::string FindBadSwitch(WantedNetwork const& wanted)
{
   for (auto const& [family, device, name, value, ofHost] : wanted.sysctls) {
      bool const good = (family == "ipv4" || family == "ipv6") && IsDeviceName(device) &&
                        name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_6") == name.npos &&
                        IsNumberTo(value, 8) && (ofHost || device == wanted.bridge.name);
      if (!good) {
         return family + " " + device + " " + name + " " + value;
      }
   }
   return {};
}

std::string FindBadAdapter(WantedNetwork const& wanted)
{
   for (auto const& adapter : wanted.bridging.adapters) {
      if (!IsDeviceName(adapter)) {
         return adapter;
      }
   }
   return {};
}

std::string FindBadRemark(WantedNetwork const& wanted)
{
   for (auto const& remark : wanted.remarks) {
      for (char const byte : remark) {
         if (byte < ' ' || byte > '~') {
            return remark;
         }
      }
   }
   return {};
}

std::string FindBadText(WantedNetwork const& wanted, Permitted const& permitted)
{
   auto fault = wanted.ruleset.empty() ? "" : FindBadRule(wanted.ruleset, permitted);
   if (fault.empty() && !wanted.parkedRuleset.empty()) {
      fault = FindBadRule(wanted.parkedRuleset, permitted);
   }
   if (fault.empty() && wanted.dnsmasq) {
      fault = FindBadDnsmasqLine(*wanted.dnsmasq, permitted);
   }
   return fault;
}

} // namespace

std::string FindFault(WantedNetwork const& wanted, vnet::Settings const& settings,
                      HostFacts const& facts)
{
   Permitted const permitted(settings, wanted.index, facts);
   if (wanted.bridge.name != permitted.GetDevice()) {
      return "bridge " + wanted.bridge.name;
   }
   for (auto const& fault : {FindBadText(wanted, permitted), FindBadSwitch(wanted),
                             FindBadAdapter(wanted), FindBadRemark(wanted)}) {
      if (!fault.empty()) {
         return fault;
      }
   }
   return {};
}

void CheckPlan(vnet::Settings const& settings, unsigned int index)
{
   static auto const hosts = MakeFacts();
   for (auto const& facts : hosts) {
      auto const wanted = vnet::services::Plan(settings, index, facts);
      auto const fault = FindFault(wanted, settings, facts);
      Require(fault.empty(), "nothing unparsed is written: " + fault);
      bool const whole = wanted.kind == vnet::services::Kind::Absent || !wanted.ruleset.empty();
      Require(whole, "a network has rules");
   }
}

void CheckPlans(vnet::Settings const& settings)
{
   std::set<unsigned int> named;
   for (auto const& [index, network] : settings.networks) {
      named.insert(index);
   }
   for (auto const& [adapter, network] : settings.adapters) {
      named.insert(network);
   }
   named.insert(settings.automatic.value_or(0));
   for (auto const index : named) {
      CheckPlan(settings, index);
   }
}

} // namespace fuzz
