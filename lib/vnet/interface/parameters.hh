// SPDX-License-Identifier: GPL-2.0-or-later
// The NAT and DHCP parameters, by their numbers.
#pragma once

#include "vnet/database/database.hh"

#include <cstdint>
#include <string>
#include <string_view>

namespace vnet {

// A parameter passes as text: switches as "1" or "0", numbers decimal, addresses dotted.
struct Parameter {
   std::uint32_t id;
   // One that was never set reads as its default, and one that has none as the empty text.
   std::string (*get)(NetworkSettings const& network);
   // The empty text puts a parameter back to what it is when it was never set. Throws
   // std::runtime_error if the parameter doesn't take the text; nothing is changed then.
   void (*set)(Database& database, unsigned int index, std::string_view text);
};

// These throw std::runtime_error if there is none with that number.
Parameter const& RequireNatParameter(std::uint32_t id);
Parameter const& RequireDhcpParameter(std::uint32_t id);

// Throws std::runtime_error if no host of the network's subnet can have the address: its first and
// last address, and with `inside` every one outside. Any will do if the network has no subnet.
void RequireHostOf(NetworkSettings const& network, Address address, bool inside);

} // namespace vnet
