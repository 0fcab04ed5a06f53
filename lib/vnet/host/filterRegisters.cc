// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/filterRegisters.hh"

#include <algorithm>
#include <linux/netfilter/nf_tables.h>

namespace vnet::host {

namespace {

constexpr std::size_t wide = 16;
constexpr std::size_t narrow = 4;

// The kernel names the same bytes in two ways.
std::size_t GetOffset(std::uint32_t number)
{
   return number >= NFT_REG32_00     ? (number - NFT_REG32_00) * narrow
          : number > NFT_REG_VERDICT ? (number - NFT_REG_1) * wide
                                     : 0;
}

// Intervals are kept by their first keys and by the keys after their last ones.
FilterSet::Element const* FindInterval(FilterSet const& set, std::string const& key)
{
   FilterSet::Element const* nearest = nullptr;
   for (auto const& element : set.elements) {
      bool const isNearer =
         element.key <= key && (!nearest || element.key > nearest->key ||
                                (element.key == nearest->key && !element.endsInterval));
      if (isNearer) {
         nearest = &element;
      }
   }
   return nearest && !nearest->endsInterval ? nearest : nullptr;
}

} // namespace

void FilterRegisters::Store(std::uint32_t number, std::optional<std::string> const& value)
{
   auto const begin = std::min(GetOffset(number), size);
   std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
             bytes.begin() + static_cast<std::ptrdiff_t>(std::min(begin + wide, size)),
             std::nullopt);
   for (std::size_t i = 0; value && i < value->size() && begin + i < size; ++i) {
      bytes[begin + i] = (*value)[i];
   }
}

std::optional<std::string> FilterRegisters::Get(std::uint32_t number, std::size_t length) const
{
   auto const begin = GetOffset(number);
   if (begin + length > size) {
      return {};
   }
   std::string value;
   for (std::size_t i = 0; i < length; ++i) {
      if (!bytes[begin + i]) {
         return {};
      }
      value += *bytes[begin + i];
   }
   return value;
}

FilterSet::Element const* FindElement(FilterSet const& set, std::string const& key)
{
   if (set.intervals) {
      return FindInterval(set, key);
   }
   auto const found = std::ranges::find(set.elements, key, &FilterSet::Element::key);
   return found == set.elements.end() ? nullptr : &*found;
}

} // namespace vnet::host
