// SPDX-License-Identifier: GPL-2.0-or-later
// What the kernel says of one table of nftables.
#pragma once

#include "vnet/host/netlink.hh"

#include <cstdint>
#include <string>
#include <vector>

namespace vnet::host {

// All that makes a table do what it does, in the kernel's words: not for reading, but two tables of
// the same description are alike. Left out are the numbers by which the kernel knows things, what
// chains count, and how long elements still last; a rule that counts is described with its count.
// Empty if there is no such table. The table's chains have to be named, since the kernel lists one
// or those of all tables; that there are others is seen by their number. The time it takes hardly
// grows with the other tables. Throws Error.
std::string DescribeTable(NetlinkSocket& socket, std::uint8_t family, std::string const& table,
                          std::vector<std::string> const& chains);

} // namespace vnet::host
