// SPDX-License-Identifier: GPL-2.0-or-later
// Looks at what the networks of a database become.
#pragma once

#include "vnet/services/hostFacts.hh"
#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

namespace fuzz {

// What is wrong with a plan; empty if its texts hold what settings and facts permit.
std::string FindFault(vnet::services::WantedNetwork const& wanted, vnet::Settings const& settings,
                      vnet::services::HostFacts const& facts);

// Plans the network on several hosts, and ends the process if a plan isn't as it should be.
void CheckPlan(vnet::Settings const& settings, unsigned int index);

// All networks that the settings name.
void CheckPlans(vnet::Settings const& settings);

} // namespace fuzz
