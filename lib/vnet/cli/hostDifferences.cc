// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/hostDifferences.hh"

#include "vnet/cli/networkFacts.hh"
#include "vnet/watch/watcherControl.hh"

namespace vnet::cli {

namespace {

using Texts = std::vector<std::string>;

// One without is there only while something is plugged in.
bool HasWork(Settings const& settings, unsigned int index)
{
   return GetNetwork(settings, index).IsHosted() || !GetAdapters(settings, index).empty();
}

Texts DescribeDifferences(engine::Report const& report, bool known, bool works)
{
   switch (report.state) {
   case engine::State::Absent:
      return works ? Texts{"not running"} : Texts();
   case engine::State::Stopped:
      return works ? Texts{"stopped"} : Texts();
   case engine::State::Foreign:
      return known ? Texts{"someone else's device has the name of its bridge"} : Texts();
   case engine::State::Running:
      break;
   }
   auto texts = report.differences;
   if (!known && report.plugged.empty()) {
      texts.push_back("not in the database");
   }
   return texts;
}

} // namespace

Texts FindHostDifferences(engine::Engine& engine, engine::Place const& place,
                          Settings const& settings)
{
   auto const known = GetNetworks(settings);
   auto all = engine.ListPresent();
   bool needsWatcher = !all.empty();
   all.insert(known.begin(), known.end());
   Texts differences;
   for (unsigned int const index : all) {
      bool const works = HasWork(settings, index);
      needsWatcher |= works;
      auto const report = engine.Look(settings, index);
      for (auto const& text : DescribeDifferences(report, known.contains(index), works)) {
         differences.push_back(GetNetworkName(index) + ": " + text);
      }
   }
   if (needsWatcher && !watch::IsWatcherRunning(place.runFolder)) {
      differences.push_back("the watcher doesn't run");
   }
   return differences;
}

} // namespace vnet::cli
