// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/status.hh"

#include "vnet/cli/describe.hh"
#include "vnet/cli/glance.hh"
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

void TellWatcher(std::ostream& output, engine::Place const& place, bool wanted)
{
   bool const runs = watch::IsWatcherRunning(place.runFolder);
   if (runs || wanted) {
      output << (runs ? "The watcher runs.\n"
                      : "The watcher doesn't run; \"tavrin-vnets start\" starts it.\n");
   }
}

void TellGlances(std::ostream& output, engine::Place const& place, Settings const& settings,
                 std::vector<unsigned int> const& named)
{
   auto const glances = GlanceAtNetworks();
   auto const present = GetPresent(glances);
   for (unsigned int const index : Select(named, settings, present)) {
      output << DescribeGlance(settings, index, Find(glances, index)) << '\n';
   }
   TellWatcher(output, place, !present.empty());
   output << "Root sees more: services, rules, and what differs from the database.\n";
}

} // namespace

bool TellStatus(std::ostream& output, std::ostream& errors, engine::Place const& place,
                Settings const& settings, std::vector<unsigned int> const& named)
{
   engine::Engine engine(place);
   if (!engine.HasPrivilege()) {
      TellGlances(output, place, settings, named);
      return true;
   }
   auto const present = engine.ListPresent();
   auto const glances = GlanceAtNetworks();
   bool all = true;
   for (unsigned int const index : Select(named, settings, present)) {
      auto const* glance = Find(glances, index);
      auto const addresses = glance ? glance->addresses : std::vector<std::string>();
      try {
         auto const report = engine.Look(settings, index);
         output << DescribeStatus(settings, index, report, addresses) << '\n';
      } catch (Error const& error) {
         errors << "tavrin-vnets: " << error.what() << '\n';
         all = false;
      }
   }
   TellWatcher(output, place, !present.empty());
   return all;
}

} // namespace vnet::cli
