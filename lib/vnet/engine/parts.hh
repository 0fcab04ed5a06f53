// SPDX-License-Identifier: GPL-2.0-or-later
// What of a network can be started and stopped by itself.
#pragma once

#include "vnet/services/hostFacts.hh"
#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

#include <set>

namespace vnet::engine {

enum class Part { Bridge, Dhcp, Nat, Adapter };
using Parts = std::set<Part>;
// A network of which all parts are stopped is stopped, even if it wants none of them.
inline Parts const allParts = {Part::Bridge, Part::Dhcp, Part::Nat, Part::Adapter};

// The parts that settings want of a network.
Parts GetWantedParts(Settings const& settings, unsigned int index);

// The plan of a network of which some parts are stopped. Without NAT it keeps the rules that park
// the flows there were. That of a network of which all parts are stopped is a bridge to which the
// host says nothing, for what is still plugged in.
services::WantedNetwork PlanWithout(Settings const& settings, unsigned int index,
                                    Parts const& stopped, services::HostFacts const& facts);

// Whether nothing is to be there unless something is plugged into the bridge.
bool NeedsPlug(services::WantedNetwork const& wanted);

} // namespace vnet::engine
