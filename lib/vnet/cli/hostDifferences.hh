// SPDX-License-Identifier: GPL-2.0-or-later
// What a start of all networks would put right.
#pragma once

#include "vnet/engine/engine.hh"
#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::cli {

// "tvnet8: not running", "tvnet8: rules". Changes nothing. Throws Error.
std::vector<std::string> FindHostDifferences(engine::Engine& engine, engine::Place const& place,
                                             Settings const& settings);

} // namespace vnet::cli
