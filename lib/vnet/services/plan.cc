// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/plan.hh"

#include "vnet/services/dnsmasqConfig.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/services/layout.hh"
#include "vnet/services/ruleset.hh"
#include "vnet/services/sysctls.hh"

#include <algorithm>
#include <set>

namespace vnet::services {

namespace {

// What the kernel's timers hold at 1000 ticks a second.
constexpr std::uint32_t maxUdpTimeout = 2000000; // seconds
constexpr std::uint32_t standardMtu = 1500;

NetworkSettings const* FindSettings(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   return found == settings.networks.end() ? nullptr : &found->second;
}

std::vector<std::string> FindAdapters(Settings const& settings, unsigned int index)
{
   std::vector<std::string> names;
   for (auto const& [name, network] : settings.adapters) {
      if (network == index) {
         names.push_back(name);
      }
   }
   return names;
}

WantedNetwork StartPlan(Settings const& settings, unsigned int index)
{
   WantedNetwork wanted;
   wanted.index = index;
   wanted.kind = FindKind(settings, index);
   wanted.bridge.name = GetNetworkName(index);
   wanted.bridge.mac = GetBridgeMac(index);
   wanted.bridge.alias = GetTableName(index);
   if (wanted.kind == Kind::HostOnly || wanted.kind == Kind::Nat) {
      wanted.bridge.mtu = FindSettings(settings, index)->mtu.value_or(standardMtu);
   }
   return wanted;
}

// The host has no say on the bridge.
void PlanSilence(WantedNetwork& wanted, HostFacts const& facts)
{
   wanted.ruleset = MakeReplacement(wanted.index, MakeSilentRules(wanted.bridge.name));
   wanted.sysctls = MakeSilentSysctls(wanted.bridge.name, facts);
}

void PlanBridging(WantedNetwork& wanted, Settings const& settings)
{
   wanted.bridging.automatic = settings.automatic == wanted.index;
   wanted.bridging.adapters = FindAdapters(settings, wanted.index);
}

// --- Port forwards ---

using PortKey = std::pair<bool, std::uint16_t>;

bool IsWhole(PortForward const& forward)
{
   return forward.hostPort != 0 && forward.vmPort != 0;
}

std::string FindObstacle(PortForward const& forward, Layout const& layout,
                         std::set<PortKey> const& taken)
{
   if (!IsWhole(forward)) {
      return "0 is no port";
   }
   if (!layout.IsGuest(forward.address)) {
      return forward.address.ToString() + " is no guest's address in " + layout.subnet.ToString();
   }
   return taken.contains({forward.tcp, forward.hostPort}) ? "another network forwards it" : "";
}

// What takes effect; the ports join those taken.
std::vector<WantedForward> SelectForwards(NetworkSettings const& network, std::string const& name,
                                          Layout const& layout, std::set<PortKey>& taken,
                                          std::vector<std::string>& remarks)
{
   std::vector<WantedForward> selected;
   for (auto const& forward : network.nat.forwards) {
      auto const obstacle = FindObstacle(forward, layout, taken);
      if (!obstacle.empty()) {
         remarks.push_back("forward " + std::string(forward.tcp ? "TCP" : "UDP") + " port " +
                           std::to_string(forward.hostPort) + " to " + name + ": " + obstacle);
         continue;
      }
      taken.insert({forward.tcp, forward.hostPort});
      selected.push_back({forward.tcp, forward.hostPort, forward.address, forward.vmPort});
   }
   std::sort(selected.begin(), selected.end());
   return selected;
}

// A port of the host goes to one network, the lowest that wants it.
std::set<PortKey> FindTakenPorts(Settings const& settings, unsigned int index)
{
   std::set<PortKey> taken;
   std::vector<std::string> theirs;
   for (auto const& [other, network] : settings.networks) {
      if (other >= index || !network.useNat || network.nat.forwards.empty()) {
         continue;
      }
      auto const name = GetNetworkName(other);
      if (auto const layout = LayOut(network, name, false, theirs)) {
         SelectForwards(network, name, *layout, taken, theirs);
      }
   }
   return taken;
}

void PlanForwards(WantedNetwork& wanted, Settings const& settings, Layout const& layout)
{
   auto taken = FindTakenPorts(settings, wanted.index);
   wanted.forwards = SelectForwards(*FindSettings(settings, wanted.index), wanted.bridge.name,
                                    layout, taken, wanted.remarks);
}

// --- Addresses ---

void PlanAddresses(WantedNetwork& wanted, Layout const& layout)
{
   // dnsmasq calls itself by the device's first address.
   if (layout.server) {
      wanted.addresses.push_back({*layout.server, 32, true});
   }
   if (layout.adapter) {
      wanted.addresses.push_back({*layout.adapter, layout.subnet.prefixLength});
   }
   if (layout.gateway) {
      wanted.addresses.push_back({*layout.gateway, 32});
   }
   auto const source = layout.gateway ? layout.gateway : layout.server;
   if (!layout.adapter && source) {
      wanted.routes.push_back({layout.subnet, *source});
   }
}

void PlanAddresses6(WantedNetwork& wanted, Layout6 const& layout)
{
   if (layout.adapter) {
      wanted.addresses6.push_back({*layout.adapter, layout.prefix.length});
   }
   wanted.addresses6.push_back({layout.gateway, layout.prefix.length});
}

// --- Rules ---

bool IsOui(std::string const& text)
{
   auto const isRight = [](char c, std::size_t place) {
      return place % 3 == 2
                ? c == ':'
                : std::string_view("0123456789abcdefABCDEF").find(c) != std::string_view::npos;
   };
   for (std::size_t place = 0; place < text.size(); ++place) {
      if (!isRight(text[place], place)) {
         return false;
      }
   }
   return text.size() == 8;
}

std::vector<std::string> MaskOuis(WantedNetwork& wanted, HostFacts const& facts)
{
   std::set<std::string> masked;
   for (auto oui : facts.acceptedOuis) {
      if (!IsOui(oui)) {
         wanted.remarks.push_back("accept a manufacturer in " + wanted.bridge.name +
                                  ": not three pairs of hexadecimal digits");
         continue;
      }
      std::transform(oui.begin(), oui.end(), oui.begin(),
                     [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; });
      masked.insert(oui + ":00:00:00");
   }
   return {masked.begin(), masked.end()};
}

RulesetInput MakeRulesetInput(WantedNetwork& wanted, NetworkSettings const& network,
                              Layout const& layout, HostFacts const& facts)
{
   RulesetInput input;
   input.device = wanted.bridge.name;
   input.layout = layout;
   input.nat = wanted.kind == Kind::Nat;
   input.dhcp = !layout.ranges.empty();
   input.activeFtp = network.nat.allowActiveFtp;
   input.udpTimeout = std::clamp(network.nat.udpTimeout, 1U, maxUdpTimeout);
   if (input.nat && !network.nat.allowAnyOui) {
      input.acceptedOuis = MaskOuis(wanted, facts);
   }
   input.forwards = wanted.forwards;
   return input;
}

void PlanRules(WantedNetwork& wanted, RulesetInput const& input)
{
   if (!input.nat) {
      wanted.ruleset = MakeReplacement(wanted.index, MakeHostOnlyRules(input));
      return;
   }
   wanted.ruleset = MakeReplacement(wanted.index, MakeNatRules(input));
   wanted.parkedRuleset = MakeReplacement(wanted.index, MakeParkedRules(input));
}

void PlanServices(WantedNetwork& wanted, Settings const& settings, HostFacts const& facts,
                  Layout const& layout)
{
   auto const& network = *FindSettings(settings, wanted.index);
   wanted.subnet = layout.subnet;
   if (wanted.kind == Kind::Nat) {
      PlanForwards(wanted, settings, layout);
   }
   PlanRules(wanted, MakeRulesetInput(wanted, network, layout, facts));
   wanted.sysctls = MakeSysctls(wanted.bridge.name, layout, !wanted.forwards.empty(), facts);
   PlanAddresses(wanted, layout);
   if (layout.ipv6) {
      PlanAddresses6(wanted, *layout.ipv6);
   }
   if (layout.server) {
      wanted.dnsmasq = MakeDnsmasq(wanted.bridge.name, network, layout, facts, wanted.remarks);
   }
}

} // namespace

Kind FindKind(Settings const& settings, unsigned int index)
{
   auto const* network = FindSettings(settings, index);
   if (network && network->IsHosted()) {
      return network->useNat ? Kind::Nat : Kind::HostOnly;
   }
   bool const known =
      network || settings.automatic == index || !FindAdapters(settings, index).empty();
   return known ? Kind::Bridged : Kind::Absent;
}

WantedNetwork Plan(Settings const& settings, unsigned int index, HostFacts const& facts)
{
   auto wanted = StartPlan(settings, index);
   if (wanted.kind == Kind::Absent) {
      return wanted;
   }
   if (wanted.kind == Kind::Bridged) {
      PlanSilence(wanted, facts);
      PlanBridging(wanted, settings);
      return wanted;
   }
   auto const layout =
      LayOut(settings.networks.at(index), wanted.bridge.name, facts.hasIpv6, wanted.remarks);
   if (layout) {
      PlanServices(wanted, settings, facts, *layout);
   } else {
      PlanSilence(wanted, facts);
   }
   return wanted;
}

} // namespace vnet::services
