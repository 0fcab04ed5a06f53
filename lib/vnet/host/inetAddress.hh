// SPDX-License-Identifier: GPL-2.0-or-later
// An IP address of either family, as the kernel's messages carry it.
#pragma once

#include "vnet/values/address.hh"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/socket.h>

namespace vnet::host {

struct InetAddress {
   unsigned char family = AF_INET;       // or AF_INET6
   std::array<std::uint8_t, 16> bytes{}; // network byte order; IPv4 uses the first four

   InetAddress() = default;
   // NOLINTNEXTLINE(google-explicit-constructor): an IPv4 address is one of these.
   InetAddress(Address address);

   // From the bytes of a netlink attribute; empty if their number doesn't fit the family.
   static std::optional<InetAddress> FromBytes(unsigned char family, void const* data,
                                               std::size_t length);
   // As inet_pton(3) reads it, either family.
   static std::optional<InetAddress> Parse(std::string const& text);

   std::size_t GetLength() const { return family == AF_INET ? 4 : 16; }
   bool IsUnspecified() const;
   // Empty for IPv6.
   std::optional<Address> ToAddress() const;
   std::string ToString() const;

   auto operator<=>(InetAddress const&) const = default;
};

} // namespace vnet::host
