// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/lanTeller.hh"

#include "base/log.h"
#include "vnet/values/error.hh"

#include <algorithm>
#include <utility>

namespace vnet::watch {

void LanTeller::Look(std::set<std::string> const& carriers)
{
   auto const now = Clock::now();
   auto const before = std::exchange(joined, patches.List());
   for (auto const& patch : joined) {
      bool const isNew = std::ranges::find(before, patch) == before.end();
      if (isNew) {
         Log("%s joins %s\n", patch.adapter.c_str(), patch.bridge.c_str());
      }
      if (isNew || carriers.contains(patch.adapter)) {
         announcer.Schedule(patch.adapter, now);
      }
   }
}

void LanTeller::Tell()
{
   for (auto const& adapter : announcer.TakeDue(Clock::now())) {
      try {
         patches.Announce(adapter);
      } catch (Error const& error) {
         // It may have gone since.
         LogV(LOG_SEVERITY_INFO, "%s\n", error.what());
      }
   }
}

} // namespace vnet::watch
