// SPDX-License-Identifier: GPL-2.0-or-later
// Addresses as numbers. Whoever holds one of these holds something that parsed: configurations and
// rulesets are written from these types alone.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vnet {

// An IPv4 address in host byte order.
struct Address {
   std::uint32_t value = 0;

   // Four decimal numbers without leading zeros, with dots between; nothing else.
   static std::optional<Address> Parse(std::string_view text);
   std::string ToString() const;

   auto operator<=>(Address const&) const = default;
};

// An IPv4 network: an address whose host bits are 0, and the length of its prefix.
struct Subnet {
   Address address;
   unsigned int prefixLength = 0; // 0 to 32

   // From an address and a contiguous mask; empty if host bits are set.
   static std::optional<Subnet> Make(Address address, Address mask);

   Address GetMask() const;
   Address GetBroadcast() const;
   // The address number `host` of the subnet; 0 is the network's own.
   Address GetHost(std::uint32_t host) const { return {address.value + host}; }
   bool Contains(Address other) const;
   // Whether other is an address of it that a host can have: neither its first nor its last.
   bool IsHost(Address other) const;
   // Whether the two share an address, whichever is the larger.
   bool Overlaps(Subnet const& other) const;
   // "192.168.8.0/24"
   std::string ToString() const;

   auto operator<=>(Subnet const&) const = default;
};

// The length of a contiguous mask's prefix; empty if it isn't contiguous.
std::optional<unsigned int> GetPrefixLength(Address mask);

// An IPv6 network, in network byte order. The host bits are 0.
struct Prefix6 {
   std::array<std::uint8_t, 16> address{};
   unsigned int length = 0; // 0 to 128

   // An address, "/" and a decimal length (RFC 4291, 2.3). Host bits are cleared. An embedded
   // IPv4 form is accepted, a zone isn't.
   static std::optional<Prefix6> Parse(std::string_view text);
   // As RFC 5952 writes it, with "/" and the length.
   std::string ToString() const;
   // The address number `host` of the network as text, without a length.
   std::string GetHost(std::uint64_t host) const;

   auto operator<=>(Prefix6 const&) const = default;
};

} // namespace vnet
