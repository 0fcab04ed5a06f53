// SPDX-License-Identifier: GPL-2.0-or-later
// From the database to what the host should have.
#pragma once

#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

namespace vnet::services {

struct HostFacts;

// What the database makes of a network.
Kind FindKind(Settings const& settings, unsigned int index);

// Depends on its arguments alone. A network with a part of its services stopped is the plan of
// settings without them.
//
// Only what parsed goes into a text: addresses, numbers, our own names, and those facts about
// accepted manufacturers that parse. Display names and descriptions go nowhere.
WantedNetwork Plan(Settings const& settings, unsigned int index, HostFacts const& facts);

} // namespace vnet::services
