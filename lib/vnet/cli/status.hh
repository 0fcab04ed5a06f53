// SPDX-License-Identifier: GPL-2.0-or-later
// How the networks stand on this host.
#pragma once

#include "vnet/engine/place.hh"
#include "vnet/values/settings.hh"

#include <ostream>
#include <vector>

namespace vnet::cli {

// Writes it for those that are named, or for all, to output; without the rights of root, what
// anybody may see. What can't be told goes to errors, and makes the result false. Throws Error.
bool TellStatus(std::ostream& output, std::ostream& errors, engine::Place const& place,
                Settings const& settings, std::vector<unsigned int> const& named);

} // namespace vnet::cli
