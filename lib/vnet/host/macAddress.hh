// SPDX-License-Identifier: GPL-2.0-or-later
// The hardware address of an Ethernet device.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vnet::host {

struct MacAddress {
   std::array<std::uint8_t, 6> bytes{};

   // Six pairs of hexadecimal digits with colons between; nothing else.
   static std::optional<MacAddress> Parse(std::string_view text);
   // A random locally administered unicast address. Throws Error.
   static MacAddress MakeRandom();
   // Lower case, with colons.
   std::string ToString() const;

   bool IsMulticast() const { return bytes[0] & 1; }

   auto operator<=>(MacAddress const&) const = default;
};

} // namespace vnet::host
