// SPDX-License-Identifier: GPL-2.0-or-later
// DHCP as a guest that has its address speaks it: from its own address to the server's.
#pragma once

#include "support/netlab/dhcpClient.hh"
#include "vnet/values/address.hh"

#include <optional>

namespace vnet::services {

struct Renewal {
   vnet::Address address; // the IP packet's source
   std::uint8_t type = 0; // 5: acknowledgement
   std::map<std::uint8_t, netlab::Bytes> options;

   std::optional<std::uint32_t> GetNumber(std::uint8_t option) const;
};

// Asks the server to renew the lease of the device's address, for the time wanted, if any: RFC
// 2131, 4.3.2. Empty if no answer comes.
std::optional<Renewal> Renew(netlab::Namespace const& place, std::string const& device,
                             vnet::Address address, vnet::Address server,
                             std::optional<std::uint32_t> seconds);

} // namespace vnet::services
