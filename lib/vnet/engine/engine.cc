// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/engine.hh"

#include "vnet/engine/failures.hh"
#include "vnet/engine/hostAdapters.hh"
#include "vnet/engine/networks.hh"
#include "vnet/engine/occupied.hh"
#include "vnet/engine/privilege.hh"
#include "vnet/engine/settingsFile.hh"

#include <algorithm>

namespace vnet::engine {

namespace {

Part GetPart(Service service)
{
   switch (service) {
   case Service::Bridge:
      return Part::Bridge;
   case Service::Dhcp:
      return Part::Dhcp;
   case Service::Nat:
      return Part::Nat;
   }
   throw Error("find", "a service", "There is none of this number");
}

// A bridged network without an adapter has no part, and yet is one: what it was before has to go.
bool CanStart(Settings const& settings, unsigned int index, Part part)
{
   auto const found = settings.networks.find(index);
   bool const hosted = found != settings.networks.end() && found->second.IsHosted();
   return part == Part::Bridge ? !hosted : GetWantedParts(settings, index).contains(part);
}

} // namespace

Engine::Engine(Place where) : place(std::move(where)) {}

Engine::~Engine() = default;

Networks& Engine::GetNetworks()
{
   if (!networks) {
      networks = std::make_unique<Networks>(place);
   }
   return *networks;
}

void Engine::Forget()
{
   marks.clear();
   touched = false;
   networks.reset();
}

bool Engine::HasPrivilege()
{
   return FindLackOfPrivilege().empty();
}

std::string Engine::FindLackOfPrivilege()
{
   if (!MayChangeNetwork()) {
      return "This needs the rights of root";
   }
   for (auto const& folder : {place.databaseFolder, place.runFolder}) {
      if (!MayWrite(folder)) {
         return folder + " may not be written to; whose is it?";
      }
   }
   return "";
}

std::vector<std::string> Engine::ListAdapters()
{
   host::RouteSocket socket;
   return SelectAdapters(host::Links(socket).List(), ReadHostSettings(place.configFile).adapters);
}

std::vector<Subnet> Engine::ListOccupied(unsigned int own)
{
   auto& all = GetNetworks();
   all.Refresh();
   return engine::ListOccupied(all.GetView(), own);
}

// --- Marks ---

void Engine::Mark(unsigned int index, Part part)
{
   touched = true;
   marks[index].insert(part);
}

void Engine::StartPart(Settings const& settings, unsigned int index, Part part)
{
   touched = true;
   // The comparison carries the opposite marks out: a bridged network has no part of a hosted one,
   // and the other way round.
   auto& marked = marks[index];
   std::erase_if(marked, [part](Part other) {
      return other == part || (other == Part::Bridge) != (part == Part::Bridge);
   });
   if (!CanStart(settings, index, part)) {
      throw Error("start", "a part of " + GetNetworkName(index), "The database doesn't want it");
   }
   auto stopped = GetNetworks().ReadStopped(index);
   if (stopped == allParts) {
      stopped.clear();
   }
   stopped.erase(part);
   GetNetworks().Apply(settings, index, stopped, ListMarked());
}

void Engine::EnableAdapter(Settings const& settings, unsigned int index)
{
   StartPart(settings, index, Part::Adapter);
}

void Engine::DisableAdapter(Settings const&, unsigned int index)
{
   Mark(index, Part::Adapter);
}

// Every comparison plans anew from the settings it is given, so there is no older configuration to
// replace; the comparison of all is what makes it real if no start comes.
void Engine::UpdateDhcp(Settings const&, unsigned int)
{
   touched = true;
}

void Engine::UpdateNat(Settings const&, unsigned int)
{
   touched = true;
}

void Engine::StartService(Settings const& settings, unsigned int index, Service service)
{
   StartPart(settings, index, GetPart(service));
}

void Engine::StopService(Settings const&, unsigned int index, Service service)
{
   Mark(index, GetPart(service));
}

std::set<unsigned int> Engine::ListMarked() const
{
   std::set<unsigned int> marked;
   for (auto const& [index, parts] : marks) {
      if (!parts.empty()) {
         marked.insert(index);
      }
   }
   return marked;
}

void Engine::RemoveNetwork(Settings const&, unsigned int index)
{
   marks.erase(index);
   auto& all = GetNetworks();
   Failures failures;
   if (all.ListPresent().contains(index)) {
      touched = true;
      failures.Try([&] { all.Remove(index); });
      failures.Try([&] { all.Sweep(); });
   }
   failures.Try([&] { all.ForgetLeases(index); });
   failures.Throw("remove", GetNetworkName(index));
}

// What is still marked and wanted stays stopped. What is marked and not wanted, as with each save
// of a network that has no such part, is gone by the comparison.
std::map<unsigned int, Parts> Engine::TakeMarks(Settings const& settings)
{
   std::map<unsigned int, Parts> stopped;
   for (auto const& [index, parts] : marks) {
      auto const wanted = GetWantedParts(settings, index);
      Parts both;
      std::ranges::set_intersection(wanted, parts, std::inserter(both, both.end()));
      if (!both.empty()) {
         stopped[index] = both == wanted ? allParts : both;
      }
   }
   marks.clear();
   return stopped;
}

void Engine::Finish(Settings const& settings, bool changed)
{
   Failures failures;
   if (changed || touched) {
      failures.Try([&] { CompareAll(settings, TakeMarks(settings)); });
      failures.Try([&] { UpdateWatcher(); });
   }
   Forget();
   failures.Throw("compare", "the networks");
}

// --- All networks ---

std::set<unsigned int> Engine::ListAll(Settings const& settings)
{
   auto all = ListKnown(settings);
   all.merge(GetNetworks().ListPresent());
   return all;
}

// Stops come first, as they make room. What then fails may only lack what a later network still
// has, so it is tried once more.
void Engine::CompareAll(Settings const& settings, std::map<unsigned int, Parts> const& stopped)
{
   auto const getStopped = [&](unsigned int index) {
      auto const found = stopped.find(index);
      return found == stopped.end() ? Parts{} : found->second;
   };
   auto& all = GetNetworks();
   Failures failures;
   for (auto const& entry : stopped) {
      failures.Try([&, index = entry.first] { all.Apply(settings, index, entry.second); });
   }
   std::set<unsigned int> again;
   for (unsigned int const index : ListAll(settings)) {
      Failures first;
      if (!first.Try([&] { all.Apply(settings, index, getStopped(index)); })) {
         again.insert(index);
      }
   }
   for (unsigned int const index : again) {
      failures.Try([&] { all.Apply(settings, index, getStopped(index)); });
   }
   failures.Try([&] { all.Sweep(); });
   failures.Throw("compare", "the networks");
}

void Engine::UpdateWatcher()
{
   auto const& tell = GetNetworks().ListPresent().empty() ? place.stopWatcher : place.ensureWatcher;
   if (tell) {
      tell();
   }
}

void Engine::StartAll(Settings const& settings)
{
   Failures failures;
   failures.Try([&] { CompareAll(settings, {}); });
   failures.Try([&] { UpdateWatcher(); });
   failures.Throw("start", "the networks");
}

void Engine::Start(Settings const& settings, unsigned int index)
{
   Failures failures;
   failures.Try([&] { GetNetworks().Apply(settings, index, {}); });
   failures.Try([&] { UpdateWatcher(); });
   failures.Throw("start", GetNetworkName(index));
}

void Engine::Stop(Settings const& settings, unsigned int index)
{
   Failures failures;
   failures.Try([&] { GetNetworks().Apply(settings, index, allParts); });
   failures.Try([&] { GetNetworks().Sweep(); });
   failures.Try([&] { UpdateWatcher(); });
   failures.Throw("stop", GetNetworkName(index));
}

void Engine::StopAll(Settings const& settings)
{
   Failures failures;
   for (unsigned int const index : GetNetworks().ListPresent()) {
      failures.Try([&] { GetNetworks().Apply(settings, index, allParts); });
   }
   failures.Try([&] { GetNetworks().Sweep(); });
   failures.Try([&] { UpdateWatcher(); });
   failures.Throw("stop", "the networks");
}

void Engine::Reconcile(Settings const& settings)
{
   Failures failures;
   for (unsigned int const index : GetNetworks().ListPresent()) {
      failures.Try([&] { ReconcilePresent(settings, index); });
   }
   failures.Try([&] { GetNetworks().Sweep(); });
   failures.Throw("reconcile", "the networks");
}

void Engine::Reconcile(Settings const& settings, unsigned int index)
{
   if (GetNetworks().ListPresent().contains(index)) {
      ReconcilePresent(settings, index);
   }
}

void Engine::ReconcilePresent(Settings const& settings, unsigned int index)
{
   auto& all = GetNetworks();
   all.Apply(settings, index, all.ReadStopped(index));
}

// --- Looking ---

Report Engine::Look(Settings const& settings, unsigned int index)
{
   return GetNetworks().Look(settings, index);
}

std::set<unsigned int> Engine::ListPresent()
{
   return GetNetworks().ListPresent();
}

std::set<services::WantedForward> Engine::ListForwards(Settings const& settings)
{
   auto& all = GetNetworks();
   std::set<services::WantedForward> forwards;
   for (unsigned int const index : all.ListPresent()) {
      if (!all.ReadStopped(index).contains(Part::Nat)) {
         forwards.merge(all.ListForwards(settings, index));
      }
   }
   return forwards;
}

} // namespace vnet::engine
