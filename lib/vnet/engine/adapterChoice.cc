// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/adapterChoice.hh"

#include <algorithm>

namespace vnet::engine {

namespace {

// The highest goes first; among equals, the first in the list.
int Rate(bool automatic, AdapterCandidate const& candidate)
{
   if (!automatic) {
      return 0;
   }
   return (candidate.carrier ? 4 : 0) + (candidate.carrier && candidate.defaultRoute ? 2 : 0) +
          (candidate.present ? 1 : 0);
}

} // namespace

std::optional<std::string> ChooseAdapter(bool automatic,
                                         std::vector<AdapterCandidate> const& candidates)
{
   auto const best = std::ranges::max_element(
      candidates, {}, [automatic](auto const& candidate) { return Rate(automatic, candidate); });
   return best == candidates.end() ? std::nullopt : std::optional(best->name);
}

} // namespace vnet::engine
