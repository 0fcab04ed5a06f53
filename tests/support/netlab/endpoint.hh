// SPDX-License-Identifier: GPL-2.0-or-later
// An address and a port, for sockets.
#pragma once

#include "base/fileDescriptor.hh"
#include "support/netlab/namespace.hh"

#include <cstdint>
#include <string>
#include <sys/socket.h>

namespace netlab {

// Of IPv4 or IPv6, as text. A link-local IPv6 address ends in "%" and its device.
struct Endpoint {
   std::string address;
   std::uint16_t port = 0;

   bool operator==(Endpoint const&) const = default;
};

struct SocketAddress {
   sockaddr_storage storage{};
   socklen_t length = sizeof storage;

   sockaddr* Get() { return reinterpret_cast<sockaddr*>(&storage); }
   sockaddr const* Get() const { return reinterpret_cast<sockaddr const*>(&storage); }
};

// Both throw std::runtime_error for what isn't an address. Call the first inside the namespace, for
// the device's sake.
SocketAddress MakeSocketAddress(Endpoint const& endpoint);
// An IPv4 address mapped into IPv6 comes out as IPv4.
Endpoint ReadEndpoint(SocketAddress const& address);

// A socket of the namespace, close-on-exec. SOCK_DGRAM or SOCK_STREAM.
base::FileDescriptor OpenSocket(Namespace const& place, int family, int type);
// One that takes both families on this port, on all addresses. 0 lets the kernel choose.
base::FileDescriptor OpenBound(Namespace const& place, int type, std::uint16_t port);
// The port to which a socket is bound.
std::uint16_t GetPort(int socket);

} // namespace netlab
