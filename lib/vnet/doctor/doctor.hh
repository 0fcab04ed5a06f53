// SPDX-License-Identifier: GPL-2.0-or-later
// Why guests have no network.
#pragma once

#include "vnet/doctor/finding.hh"
#include "vnet/doctor/surroundings.hh"
#include "vnet/engine/place.hh"
#include "vnet/values/settings.hh"

#include <set>
#include <string>
#include <vector>

namespace vnet::doctor {

struct Examination {
   Findings findings;                   // by network, those that concern all at the end
   std::vector<std::string> complaints; // what couldn't be looked at
   bool complete = true;                // else the rights of root are missing
};

// Looks at these networks, and changes nothing. Throws Error.
Examination Examine(engine::Place const& place, SystemRoots const& roots, Settings const& settings,
                    std::set<unsigned int> const& networks);

} // namespace vnet::doctor
