// SPDX-License-Identifier: GPL-2.0-or-later
// How the networks stand on this host.
#pragma once

#include "vnet/engine/place.hh"
#include "vnet/values/settings.hh"

#include <vector>

namespace vnet::cli {

class Output;

// Tells it for those that are named, or for all; without the rights of root, what anybody may see.
// What can't be told is complained of, and makes the result false. Throws Error.
bool TellStatus(Output& output, engine::Place const& place, Settings const& settings,
                std::vector<unsigned int> const& named);

} // namespace vnet::cli
