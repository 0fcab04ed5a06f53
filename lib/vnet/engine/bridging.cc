// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/bridging.hh"

#include "vnet/engine/adapterChoice.hh"
#include "vnet/engine/failures.hh"
#include "vnet/engine/host.hh"
#include "vnet/engine/notes.hh"
#include "vnet/engine/ours.hh"
#include "vnet/engine/patchState.hh"
#include "vnet/host/patchPairs.hh"

#include <algorithm>
#include <set>

namespace vnet::engine {

namespace {

// Whether what a join is made after is still so.
bool IsUnchanged(host::Link const& before, Device const* now)
{
   return now && now->link.index == before.index && now->link.mac == before.mac &&
          now->link.mtu == before.mtu;
}

} // namespace

std::vector<std::string> Bridging::List(std::string const& bridge) const
{
   std::set<std::string> adapters;
   for (auto const& [index, device] : host.view.GetDevices()) {
      auto const part = host::ParsePatchPart(device.link);
      if (part && part->bridge == bridge) {
         adapters.insert(part->adapter);
      }
   }
   return {adapters.begin(), adapters.end()};
}

std::optional<std::string> Bridging::Choose(services::WantedNetwork const& wanted) const
{
   auto const joined = List(wanted.bridge.name);
   auto const* byDefault = host.view.FindDefault();
   std::vector<AdapterCandidate> candidates;
   for (auto const& name : wanted.bridging.adapters) {
      auto const* device = host.view.Find(name);
      if (device) {
         candidates.push_back({name, device->link.IsUp() && device->link.carrier,
                               device == byDefault,
                               std::ranges::find(joined, name) != joined.end()});
      }
   }
   return ChooseAdapter(wanted.bridging.automatic, candidates);
}

void Bridging::Detach(std::string const& adapter)
{
   Failures failures;
   failures.Add(host.patches.Detach(adapter));
   host.view.Refresh();
   failures.Throw("take off", adapter);
}

void Bridging::Release(services::WantedNetwork const& wanted)
{
   auto const chosen = Choose(wanted);
   for (auto const& adapter : List(wanted.bridge.name)) {
      if (adapter != chosen) {
         Detach(adapter);
      }
   }
}

bool Bridging::IsRight(services::WantedNetwork const& wanted, Notes const& notes)
{
   auto const chosen = Choose(wanted);
   auto const joined = List(wanted.bridge.name);
   if (!chosen) {
      return joined.empty();
   }
   return joined == std::vector<std::string>{*chosen} &&
          notes.IsPatch(DescribePatch(host, *chosen, wanted.bridge.name));
}

void Bridging::Apply(services::WantedNetwork const& wanted, Notes const& notes)
{
   auto const chosen = Choose(wanted);
   if (!chosen) {
      notes.RemovePatch();
      return;
   }
   if (IsRight(wanted, notes)) {
      return;
   }
   notes.RemovePatch();
   auto const before = host.view.Find(*chosen)->link;
   host.patches.Attach(*chosen, wanted.bridge.name);
   host.view.Refresh();
   // An adapter that changed meanwhile may not be followed yet: the next comparison sees to it.
   if (IsUnchanged(before, host.view.Find(*chosen))) {
      notes.WritePatch(DescribePatch(host, *chosen, wanted.bridge.name));
   }
}

std::vector<std::string> Bridging::Remark(services::WantedNetwork const& wanted) const
{
   std::vector<std::string> remarks;
   auto const& adapters = wanted.bridging.adapters;
   for (auto const& name : adapters) {
      if (!host.view.Find(name)) {
         remarks.push_back("bridge " + name + " to " + wanted.bridge.name +
                           ": there is no such device now");
      }
   }
   auto const chosen = Choose(wanted);
   if (!wanted.bridging.automatic && adapters.size() > 1 && chosen) {
      remarks.push_back("bridge all adapters of " + wanted.bridge.name + ": a network uses one, " +
                        *chosen);
   }
   if (chosen && host.view.Find(*chosen)->link.wireless) {
      remarks.push_back("bridge " + *chosen + " to " + wanted.bridge.name +
                        ": Wi-Fi adapters can't carry the frames of virtual machines");
   }
   return remarks;
}

void Bridging::Sweep()
{
   for (auto const& link : host::PatchPairs(host.links).ListNameless()) {
      host.links.Delete(link);
   }
   for (auto const& patch : host.patches.List()) {
      auto const* bridge = host.view.Find(patch.bridge);
      if (!bridge || !FindBridgeIndex(bridge->link)) {
         Detach(patch.adapter);
      }
   }
}

} // namespace vnet::engine
