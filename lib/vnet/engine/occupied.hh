// SPDX-License-Identifier: GPL-2.0-or-later
// Which subnets are in use on this host.
#pragma once

#include "vnet/values/address.hh"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnet::engine {

class HostView;

// Every address of the host with its subnet, and every route of any table, but for default routes
// and for what the bridge of network `own` has. The two halves of all addresses, as some VPNs route
// them, count as a default route, too: else nothing would be free behind such a VPN.
std::vector<Subnet> ListOccupied(HostView const& view, unsigned int own);

// The networks, but `own`, whose bridges have an address in the subnet or a route that overlaps it.
std::set<unsigned int> FindHolders(HostView const& view, Subnet const& subnet, unsigned int own);

// Who, other than our networks, has an address in the subnet or a route to just this subnet: a
// network would cut the host off from there. A route to a larger subnet is no obstacle, as the
// narrower one goes first. Empty if nobody does.
std::string FindForeignUser(HostView const& view, Subnet const& subnet);

} // namespace vnet::engine
