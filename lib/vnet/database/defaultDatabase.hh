// SPDX-License-Identifier: GPL-2.0-or-later
// The database of a host that has none yet.
#pragma once

#include "vnet/values/address.hh"

#include <string>
#include <vector>

namespace vnet {

// Network 0 bridges automatically by these adapters, device names that parsed; 1 is host-only and 8
// has NAT, the last two with the host's adapter and DHCP.
std::string MakeDefaultDatabase(Subnet const& hostOnly, Subnet const& nat,
                                std::vector<std::string> const& adapters = {});

} // namespace vnet
