// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/parts.hh"

#include "vnet/services/plan.hh"

#include <algorithm>

namespace vnet::engine {

namespace {

bool HasAdapter(Settings const& settings, unsigned int index)
{
   return std::ranges::any_of(settings.adapters,
                              [index](auto const& entry) { return entry.second == index; });
}

NetworkSettings const* Find(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   return found == settings.networks.end() ? nullptr : &found->second;
}

services::WantedNetwork PlanStopped(Settings const& settings, unsigned int index,
                                    services::HostFacts const& facts)
{
   Settings bare;
   bare.networks[index];
   auto stopped = services::Plan(bare, index, facts);
   auto const running = services::Plan(settings, index, facts);
   if (!running.parkedRuleset.empty()) {
      stopped.ruleset = running.parkedRuleset;
   }
   return stopped;
}

} // namespace

Parts GetWantedParts(Settings const& settings, unsigned int index)
{
   auto const* network = Find(settings, index);
   if (!network || !network->IsHosted()) {
      bool const bridged = settings.automatic == index || HasAdapter(settings, index);
      return bridged ? Parts{Part::Bridge} : Parts{};
   }
   Parts parts;
   if (network->useDhcp) {
      parts.insert(Part::Dhcp);
   }
   if (network->useNat) {
      parts.insert(Part::Nat);
   }
   if (network->useAdapter) {
      parts.insert(Part::Adapter);
   }
   return parts;
}

services::WantedNetwork PlanWithout(Settings const& settings, unsigned int index,
                                    Parts const& stopped, services::HostFacts const& facts)
{
   if (stopped == allParts) {
      return PlanStopped(settings, index, facts);
   }
   auto const running = services::Plan(settings, index, facts);
   Parts left = GetWantedParts(settings, index);
   if (std::erase_if(left, [&](Part part) { return stopped.contains(part); }) == 0) {
      return running;
   }
   auto without = settings;
   auto& network = without.networks[index];
   network.useDhcp = left.contains(Part::Dhcp);
   network.useNat = left.contains(Part::Nat);
   network.useAdapter = left.contains(Part::Adapter);
   auto plan = services::Plan(without, index, facts);
   if (stopped.contains(Part::Nat) && !running.parkedRuleset.empty()) {
      plan.ruleset = running.parkedRuleset;
   }
   return plan;
}

bool NeedsPlug(services::WantedNetwork const& wanted)
{
   return wanted.kind == services::Kind::Bridged && wanted.bridging.adapters.empty();
}

} // namespace vnet::engine
