// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/engine.hh"
#include "vnet/interface/hostSide.hh"
#include "vnet/process/firewalld.hh"
#include "vnet/watch/hostUnits.hh"
#include "vnet/watch/watcherControl.hh"

namespace vnet {

std::unique_ptr<HostSide> MakeHostSide()
{
   engine::Place place;
   place.units = watch::FindHostUnits(place.runFolder);
   place.zones = std::make_shared<process::Firewalld>();
   place.ensureWatcher = [units = place.units, folder = place.runFolder] {
      watch::EnsureWatcher(units, folder);
   };
   place.stopWatcher = [units = place.units, folder = place.runFolder] {
      watch::StopWatcher(units, folder);
   };
   return std::make_unique<engine::Engine>(place);
}

} // namespace vnet
