// SPDX-License-Identifier: GPL-2.0-or-later
// What passes between a network and the host itself.
#pragma once

#include "vnet/services/ruleset.hh"

#include <string>

namespace vnet::services {

// With a host adapter, what the host's own firewall lets; a host-only network meets the host by
// this adapter alone. Without one, guests meet the gateway and the DHCP server and nothing else of
// the host.
std::string MakeHostRules(RulesetInput const& input);
// Nothing.
std::string MakeSilentHostRules(std::string const& device);

} // namespace vnet::services
