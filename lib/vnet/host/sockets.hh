// SPDX-License-Identifier: GPL-2.0-or-later
// The sockets of this namespace that wait for whoever comes.
#pragma once

#include "vnet/host/netlink.hh"
#include "vnet/values/address.hh"

#include <cstdint>
#include <optional>
#include <vector>

namespace vnet::host {

// One that can be reached by IPv4: a TCP socket that listens, or a UDP socket with a port.
struct Socket {
   bool tcp = true;
   std::optional<Address> address; // empty: any of the host's
   std::uint16_t port = 0;
   int link = 0;             // index of the device that it is bound to, or 0
   std::uint64_t cgroup = 0; // the number of its maker's control group, or 0 if the kernel has none
   std::uint32_t mark = 0;   // SO_MARK; 0 also for who may not administer the network

   bool operator==(Socket const&) const = default;
};

// Asks the kernel (sock_diag(7)), which tells everybody. Throws Error, also where the kernel can't
// tell.
class Sockets {
public:
   Sockets();

   std::vector<Socket> List();

private:
   NetlinkSocket socket;
};

} // namespace vnet::host
