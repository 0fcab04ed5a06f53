// SPDX-License-Identifier: GPL-2.0-or-later
// Tells switches where guests are.
#pragma once

#include "vnet/host/macAddress.hh"

#include <vector>

namespace vnet::host {

struct Link;

// Sends a broadcast frame out of the device in the name of each guest: a reverse ARP request (RFC
// 903), as virtual machine monitors send it after a move, which needs no IP address. Throws Error.
void AnnounceGuests(Link const& device, std::vector<MacAddress> const& guests);

} // namespace vnet::host
