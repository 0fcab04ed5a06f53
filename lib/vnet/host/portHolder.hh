// SPDX-License-Identifier: GPL-2.0-or-later
// A port of the host that is taken so that no service takes it.
#pragma once

#include "base/fileDescriptor.hh"

#include <cstdint>
#include <optional>

namespace vnet::host {

// A forwarded port shadows a service of the host silently: packets are redirected before they reach
// it. So the port is bound, on all IPv4 addresses, by a socket that doesn't listen: who wants it
// later gets "Address already in use". What arrives at the socket is dropped unread.
class PortHolder {
public:
   // What marks its sockets (SO_MARK), so that who lists the host's sockets knows them.
   static constexpr std::uint32_t mark = 0x74766e68;

   // Empty if a service of the host has the port. Throws Error for any other failure. Whether two
   // holders can have one TCP port depends on the kernel.
   static std::optional<PortHolder> Hold(bool tcp, std::uint16_t port);

private:
   explicit PortHolder(base::FileDescriptor boundSocket) : socket(std::move(boundSocket)) {}

   base::FileDescriptor socket;
};

} // namespace vnet::host
