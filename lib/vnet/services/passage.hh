// SPDX-License-Identifier: GPL-2.0-or-later
// What passes between a network and other networks.
#pragma once

#include "vnet/services/ruleset.hh"

#include <string>

namespace vnet::services {

// Drops what nothing else may look at.
std::string MakeGuard(RulesetInput const& input);
// Guests out, and in what answers them or is forwarded. Uses the chain "timeouts".
std::string MakeNatPassage(RulesetInput const& input);
std::string MakeClosedPassage(std::string const& device);
// The same where routes and addresses may be gone.
std::string MakeParkedPassage(RulesetInput const& input);

} // namespace vnet::services
