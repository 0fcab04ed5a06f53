// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/engine.hh"
#include "vnet/interface/hostSide.hh"
#include "vnet/watch/watcherControl.hh"

namespace vnet {

std::unique_ptr<HostSide> MakeHostSide()
{
   engine::Place place;
   place.ensureWatcher = [] { watch::EnsureWatcher(); };
   place.stopWatcher = [] { watch::StopWatcher(); };
   return std::make_unique<engine::Engine>(place);
}

} // namespace vnet
