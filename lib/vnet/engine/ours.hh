// SPDX-License-Identifier: GPL-2.0-or-later
// Which things of the host are ours.
#pragma once

#include <optional>
#include <string>

namespace vnet::host {
struct Link;
}

namespace vnet::engine {

// All of our tables' names begin so.
inline constexpr char const* tablePrefix = "tavrin-";

// The network whose bridge the device is; empty for someone else's device, whatever its name.
std::optional<unsigned int> FindBridgeIndex(host::Link const& link);
// Whether it is one of our bridges, or one end of a pair that joins a bridge and an adapter.
bool IsOurs(host::Link const& link);
// Whether it is one end of such a pair.
bool IsPatch(host::Link const& link);
// The network of the name of one of our tables.
std::optional<unsigned int> ParseTableName(std::string const& table);

} // namespace vnet::engine
