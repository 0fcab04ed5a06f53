// SPDX-License-Identifier: GPL-2.0-or-later
// The translation of addresses and ports.
#pragma once

#include "vnet/services/ruleset.hh"

#include <string>

namespace vnet::services {

// The chain "timeouts", to be jumped to with what is forwarded: how long a UDP flow is remembered.
std::string MakeTimeouts(RulesetInput const& input);
// All that changes addresses and ports.
std::string MakeTranslation(RulesetInput const& input);
// Changes nothing, and yet keeps the kernel translating the flows that it knows.
std::string MakeIdleTranslation();

} // namespace vnet::services
