// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/status.hh"

#include "vnet/cli/describe.hh"
#include "vnet/cli/glance.hh"
#include "vnet/cli/leases.hh"
#include "vnet/cli/networkFacts.hh"
#include "vnet/cli/objects.hh"
#include "vnet/cli/output.hh"
#include "vnet/engine/engine.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/watcherControl.hh"

#include <map>
#include <set>

namespace vnet::cli {

namespace {

using Glances = std::map<unsigned int, Glance>;
using Indices = std::set<unsigned int>;

// Those that were named, or all that there are.
Indices Select(std::vector<unsigned int> const& named, Settings const& settings,
               Indices const& present)
{
   Indices networks(named.begin(), named.end());
   if (named.empty()) {
      networks = GetNetworks(settings);
      networks.insert(present.begin(), present.end());
   }
   return networks;
}

Indices GetPresent(Glances const& glances)
{
   Indices present;
   for (auto const& [index, glance] : glances) {
      if (!glance.foreign) {
         present.insert(index);
      }
   }
   return present;
}

Glance const* Find(Glances const& glances, unsigned int index)
{
   auto const found = glances.find(index);
   return found == glances.end() ? nullptr : &found->second;
}

class StatusTeller {
public:
   StatusTeller(Output& where, engine::Place const& placeOfHost, Settings const& wanted)
      : output(where), place(placeOfHost), settings(wanted)
   {}

   bool Tell(std::vector<unsigned int> const& named);

private:
   Output& output;
   engine::Place const& place;
   Settings const& settings;
   Glances const glances = GlanceAtNetworks();
   json::Value objects = json::Value::MakeList();
   bool all = true;

   void TellNetwork(engine::Engine& engine, unsigned int index);
   void TellGlance(unsigned int index);
   void TellEnd(bool watched, bool whole);
   std::vector<Lease> ReadLeases(unsigned int index);
};

bool StatusTeller::Tell(std::vector<unsigned int> const& named)
{
   engine::Engine engine(place);
   bool const whole = engine.HasPrivilege();
   auto const present = whole ? engine.ListPresent() : GetPresent(glances);
   for (unsigned int const index : Select(named, settings, present)) {
      if (whole) {
         TellNetwork(engine, index);
      } else {
         TellGlance(index);
      }
   }
   TellEnd(!present.empty(), whole);
   return all;
}

void StatusTeller::TellNetwork(engine::Engine& engine, unsigned int index)
{
   auto const* glance = Find(glances, index);
   auto const addresses = glance ? glance->addresses : std::vector<std::string>();
   try {
      auto const report = engine.Look(settings, index);
      auto const leases = ReadLeases(index);
      if (output.json) {
         objects.Add(MakeStatusObject(settings, index, report, addresses, leases));
      } else {
         output.Tell(DescribeStatus(settings, index, report, addresses, leases, output.paint) +
                     "\n");
      }
   } catch (Error const& error) {
      output.Complain(error.what());
      all = false;
   }
}

void StatusTeller::TellGlance(unsigned int index)
{
   auto const* glance = Find(glances, index);
   auto const leases = ReadLeases(index);
   if (output.json) {
      objects.Add(MakeGlanceObject(settings, index, glance, leases));
   } else {
      output.Tell(DescribeGlance(settings, index, glance, leases) + "\n");
   }
}

// Those that can't be read are no reason to tell nothing.
std::vector<Lease> StatusTeller::ReadLeases(unsigned int index)
{
   try {
      return cli::ReadLeases(place.stateFolder, index, std::time(nullptr));
   } catch (Error const& error) {
      output.Complain(error.what());
      all = false;
      return {};
   }
}

void StatusTeller::TellEnd(bool watched, bool whole)
{
   bool const runs = watch::IsWatcherRunning(place.runFolder);
   if (output.json) {
      auto object = json::Value::MakeObject();
      object.Add("networks", std::move(objects));
      object.Add("watcher", runs);
      output.TellJson(object.Add("complete", whole));
      return;
   }
   if (runs || watched) {
      output.Tell(runs ? "The watcher runs.\n"
                       : "The watcher doesn't run; \"tavrin-vnets start\" starts it.\n");
   }
   if (!whole) {
      output.Tell("Root sees more: services, rules, and what differs from the database.\n");
   }
}

} // namespace

bool TellStatus(Output& output, engine::Place const& place, Settings const& settings,
                std::vector<unsigned int> const& named)
{
   return StatusTeller(output, place, settings).Tell(named);
}

} // namespace vnet::cli
