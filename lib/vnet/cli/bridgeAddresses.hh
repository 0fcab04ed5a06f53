// SPDX-License-Identifier: GPL-2.0-or-later
// The host's addresses in a network.
#pragma once

#include <string>
#include <vector>

namespace vnet::cli {

// Those of the network's bridge, "192.168.8.1/24", in the kernel's order; none without a bridge.
// Needs no rights. Throws Error.
std::vector<std::string> ListBridgeAddresses(unsigned int index);

} // namespace vnet::cli
