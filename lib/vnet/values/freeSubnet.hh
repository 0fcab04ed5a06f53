// SPDX-License-Identifier: GPL-2.0-or-later
// The choice of a subnet for a network that has none.
#pragma once

#include "vnet/values/address.hh"

#include <optional>
#include <vector>

namespace vnet {

// A /24 that shares no address with any of occupied, whichever is the larger; empty if there is
// none. A present subnet that shares none stays, whatever its size: once chosen, a subnet stays.
//
// The private ranges (RFC 1918) are searched in this order: 192.168.0.0/16, 172.16.0.0/12,
// 10.0.0.0/8, each upwards. Within the first those come last that home routers, telephones and
// other virtual networks use by default, of them 192.168.1.0 and 192.168.0.0 at the very end: a
// host that moves between networks meets them sooner or later. The same input gives the same
// result.
std::optional<Subnet> FindFreeSubnet(std::vector<Subnet> const& occupied,
                                     std::optional<Subnet> present);

} // namespace vnet
