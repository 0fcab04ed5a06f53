// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/networks.hh"

#include "base/log.h"
#include "vnet/engine/facts.hh"
#include "vnet/engine/failures.hh"
#include "vnet/engine/occupied.hh"
#include "vnet/engine/ours.hh"
#include "vnet/process/smallFile.hh"
#include "vnet/services/plan.hh"

#include <algorithm>

namespace vnet::engine {

namespace {

using services::WantedNetwork;

bool WantsSubnet(Settings const& settings, unsigned int index, Subnet const& subnet)
{
   auto const found = settings.networks.find(index);
   auto const wanted = found == settings.networks.end() ? std::nullopt : found->second.GetSubnet();
   return wanted && wanted->Overlaps(subnet);
}

bool IsKnown(Settings const& settings, unsigned int index)
{
   return settings.networks.contains(index) || settings.automatic == index ||
          std::ranges::any_of(settings.adapters,
                              [index](auto const& entry) { return entry.second == index; });
}

State GetState(bool present, bool foreign, Parts const& stopped)
{
   if (foreign) {
      return State::Foreign;
   }
   return !present ? State::Absent : stopped == allParts ? State::Stopped : State::Running;
}

} // namespace

Networks::Networks(Place const& where)
   : place(where), zone(host, where.zones), switches(host.sysctl, where.runFolder),
     nameservers(where.resolvFile)
{}

void Networks::Refresh()
{
   host.view.Refresh();
   auto const generation = host.view.GetGeneration();
   bool const renamed = nameservers.Refresh();
   if (!facts || renamed || generation != factsGeneration) {
      facts = GatherFacts(host, place, nameservers.Get());
      factsGeneration = generation;
   }
}

Network Networks::GetNetwork(unsigned int index)
{
   return Network({host, rules, bridging, docker, zone, switches, *facts, place.units}, index);
}

// Of one that the database doesn't hold, a bridge is left as long as something is plugged in.
WantedNetwork Networks::PlanPresent(Settings const& settings, unsigned int index,
                                    Parts const& stopped)
{
   return PlanWithout(settings, index, IsKnown(settings, index) ? stopped : allParts, *facts);
}

void Networks::Apply(Settings const& settings, unsigned int index, Parts const& stopped,
                     std::set<unsigned int> const& yielding)
{
   Refresh();
   auto const wanted = PlanPresent(settings, index, stopped);
   auto network = GetNetwork(index);
   if (NeedsPlug(wanted) && network.ListPlugged().empty()) {
      network.Remove();
      if (!IsKnown(settings, index)) {
         network.ForgetLeases();
      }
      return;
   }
   if (network.IsForeign()) {
      // Rules, switches and servers of ours that were there before would meet the other's device.
      network.Remove();
      throw Error("run", wanted.bridge.name, "Someone else's device has this name");
   }
   TakeSubnet(settings, wanted, yielding);
   Tell(ListRemarks(wanted));
   network.GetNotes().WriteStopped(stopped);
   network.Apply(wanted);
   TellObstacles(wanted);
}

void Networks::Remove(unsigned int index)
{
   Refresh();
   GetNetwork(index).Remove();
}

void Networks::ForgetLeases(unsigned int index)
{
   Refresh();
   GetNetwork(index).ForgetLeases();
}

void Networks::Sweep()
{
   bridging.Sweep();
   auto const networks = Notes::List(place.runFolder);
   docker.Sweep(networks);
   zone.Sweep(networks);
   process::RemoveLeftovers(place.runFolder);
   for (unsigned int const index : networks) {
      process::RemoveLeftovers(place.runFolder + "/" + GetNetworkName(index));
   }
}

void Networks::TakeSubnet(Settings const& settings, WantedNetwork const& wanted,
                          std::set<unsigned int> const& yielding)
{
   if (!wanted.subnet) {
      return;
   }
   std::string const object = wanted.subnet->ToString() + " to " + wanted.bridge.name;
   for (unsigned int const holder : FindHolders(host.view, *wanted.subnet, wanted.index)) {
      if (!yielding.contains(holder) && WantsSubnet(settings, holder, *wanted.subnet)) {
         throw Error("give", object, GetNetworkName(holder) + " has it");
      }
      GetNetwork(holder).Apply(PlanWithout(settings, holder, allParts, *facts));
   }
   if (auto const user = FindForeignUser(host.view, *wanted.subnet); !user.empty()) {
      throw Error("give", object, user + " of this host has it");
   }
}

std::vector<std::string> Networks::ListRemarks(WantedNetwork const& wanted)
{
   auto remarks = wanted.remarks;
   std::ranges::copy(bridging.Remark(wanted), std::back_inserter(remarks));
   return remarks;
}

// Each once, as a save compares every network several times.
void Networks::Tell(std::vector<std::string> const& remarks)
{
   for (auto const& remark : remarks) {
      if (told.insert(remark).second) {
         Log("%s\n", remark.c_str());
      }
   }
}

// The network runs, whatever keeps us from looking at the rules of others.
void Networks::TellObstacles(WantedNetwork const& wanted)
{
   try {
      std::vector<std::string> texts;
      std::ranges::transform(obstacles.Find(wanted), std::back_inserter(texts),
                             &Obstacle::ToString);
      Tell(texts);
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_FAILURE, "%s\n", error.what());
   }
}

std::set<unsigned int> ListKnown(Settings const& settings)
{
   std::set<unsigned int> known;
   for (auto const& [index, network] : settings.networks) {
      known.insert(index);
   }
   for (auto const& [name, index] : settings.adapters) {
      known.insert(index);
   }
   if (settings.automatic) {
      known.insert(*settings.automatic);
   }
   return known;
}

std::set<unsigned int> Networks::ListPresent()
{
   Refresh();
   auto present = Notes::List(place.runFolder);
   present.merge(switches.ListUsers());
   for (auto const& [link, device] : host.view.GetDevices()) {
      if (device.network) {
         present.insert(*device.network);
      }
   }
   for (auto const& table : host.ruleset.ListTables("inet")) {
      if (auto const index = ParseTableName(table)) {
         present.insert(*index);
      }
   }
   return present;
}

Parts Networks::ReadStopped(unsigned int index)
{
   return Notes(place.runFolder, index).ReadStopped();
}

std::set<services::WantedForward> Networks::ListForwards(Settings const& settings,
                                                         unsigned int index)
{
   Refresh();
   auto const forwards = services::Plan(settings, index, *facts).forwards;
   return {forwards.begin(), forwards.end()};
}

Report Networks::Look(Settings const& settings, unsigned int index)
{
   Refresh();
   auto network = GetNetwork(index);
   bool const present = ListPresent().contains(index);
   auto const stopped = network.GetNotes().ReadStopped();
   auto const wanted = PlanWithout(settings, index, {}, *facts);
   auto const now = PlanPresent(settings, index, stopped);
   Report report;
   report.state = GetState(present, network.IsForeign(), stopped);
   report.kind = wanted.kind;
   report.subnet = wanted.subnet;
   report.wantsDnsmasq = wanted.dnsmasq.has_value();
   report.dnsmasqRuns = network.RunsDnsmasq();
   report.adapters = bridging.List(wanted.bridge.name);
   report.plugged = network.ListPlugged();
   report.remarks = ListRemarks(wanted);
   if (report.state == State::Running) {
      report.obstacles = obstacles.Find(now);
      if (auto const remark = now.dnsmasq ? network.RemarkDnsmasq() : ""; !remark.empty()) {
         report.remarks.push_back(remark);
      }
   }
   if (report.state == State::Running || report.state == State::Stopped) {
      report.differences = network.Compare(now);
   }
   return report;
}

} // namespace vnet::engine
