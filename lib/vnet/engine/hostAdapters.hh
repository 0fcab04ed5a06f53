// SPDX-License-Identifier: GPL-2.0-or-later
// The host's devices that a network can be bridged to.
#pragma once

#include "vnet/host/links.hh"

#include <string>
#include <vector>

namespace vnet::engine {

// The names, in the devices' order: Ethernet and Wi-Fi hardware, and those of `named` that are
// Ethernet. Never bridges, taps, tunnels or devices of ours.
std::vector<std::string> SelectAdapters(std::vector<host::Link> const& links,
                                        std::vector<std::string> const& named);

} // namespace vnet::engine
