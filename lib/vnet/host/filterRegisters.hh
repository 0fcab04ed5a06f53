// SPDX-License-Identifier: GPL-2.0-or-later
// What the rules of nftables compute with.
#pragma once

#include "vnet/host/filters.hh"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace vnet::host {

// Sixteen registers of four bytes each, named one by one or in fours. Each byte is known or not.
class FilterRegisters {
public:
   // `number` is one of NFT_REG_ or NFT_REG32_. An empty value makes the register unknown.
   void Store(std::uint32_t number, std::optional<std::string> const& value);
   // Empty if a byte of it isn't known.
   std::optional<std::string> Get(std::uint32_t number, std::size_t length) const;

private:
   static constexpr std::size_t size = 64;
   std::array<std::optional<char>, size> bytes;
};

// The element to which a key belongs; null if there is none. Concatenated intervals aren't for
// this.
FilterSet::Element const* FindElement(FilterSet const& set, std::string const& key);

} // namespace vnet::host
