// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/doctor.hh"

#include "vnet/doctor/checks.hh"
#include "vnet/engine/engine.hh"
#include "vnet/engine/ours.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/watcherControl.hh"

#include <algorithm>

namespace vnet::doctor {

namespace {

Patient MakePatient(Settings const& settings, unsigned int index)
{
   Patient patient;
   patient.index = index;
   patient.name = GetNetworkName(index);
   if (auto const found = settings.networks.find(index); found != settings.networks.end()) {
      patient.settings = found->second;
   }
   for (auto const& [adapter, network] : settings.adapters) {
      if (network == index) {
         patient.adapters.push_back(adapter);
      }
   }
   return patient;
}

Findings ExaminePatient(Patient const& patient, Surroundings const& around)
{
   Findings all;
   auto const add = [&all](Findings const& findings) {
      all.insert(all.end(), findings.begin(), findings.end());
   };
   add(FindStates(patient));
   add(FindFilters(patient));
   add(FindDeadServer(patient, around));
   add(FindTakenForwards(patient, around));
   add(FindOverlaps(patient, around));
   add(FindBridging(patient, around));
   add(FindForwardingOff(patient, around));
   add(FindDifferences(patient, all));
   return all;
}

// It puts right what others disturb, and follows the adapters.
Findings FindDeadWatcher(engine::Place const& place, Surroundings const& around)
{
   bool const needed = std::ranges::any_of(around.links, [](host::Link const& link) {
      return engine::FindBridgeIndex(link).has_value();
   });
   if (!needed || watch::IsWatcherRunning(place.runFolder)) {
      return {};
   }
   return {{"watcher-dead",
            {},
            "The watcher doesn't run, so nothing is put right that changes on this host.",
            "tavrin-vnets start"}};
}

} // namespace

Examination Examine(engine::Place const& place, SystemRoots const& roots, Settings const& settings,
                    std::set<unsigned int> const& networks)
{
   Examination examination;
   auto const around = LookAround(roots, examination.complaints);
   engine::Engine engine(place);
   examination.complete = engine.HasPrivilege();
   auto& all = examination.findings;
   for (unsigned int const index : networks) {
      auto patient = MakePatient(settings, index);
      try {
         if (examination.complete) {
            patient.report = engine.Look(settings, index);
         }
      } catch (Error const& error) {
         examination.complaints.push_back(error.what());
      }
      auto const findings = ExaminePatient(patient, around);
      all.insert(all.end(), findings.begin(), findings.end());
   }
   auto const watcher = FindDeadWatcher(place, around);
   all.insert(all.end(), watcher.begin(), watcher.end());
   return examination;
}

} // namespace vnet::doctor
