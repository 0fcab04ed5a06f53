// SPDX-License-Identifier: GPL-2.0-or-later
// Which adapter a bridged network uses.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

struct AdapterCandidate {
   std::string name;
   bool carrier = false;
   bool defaultRoute = false; // the host's way to everywhere leaves by it
   bool present = false;      // the network uses it now
};

// One adapter at a time, as two that lead to the same LAN would make a loop. An automatic network
// takes the one with the default route, else the present one, else the first with carrier; a
// present one that lost its carrier gives way to one that has it. A fixed network takes the first.
// Empty if there is no candidate.
std::optional<std::string> ChooseAdapter(bool automatic,
                                         std::vector<AdapterCandidate> const& candidates);

} // namespace vnet::engine
