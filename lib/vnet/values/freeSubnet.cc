// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/freeSubnet.hh"

#include <algorithm>
#include <iterator>

namespace vnet {

namespace {

constexpr Subnet range192{{0xc0a80000}, 16};
constexpr Subnet range172{{0xac100000}, 12};
constexpr Subnet range10{{0x0a000000}, 8};

// Third bytes below 192.168 that are others' defaults: routers (0 to 4, 8, 10, 11, 15, 16, 20, 50,
// 68, 86, 88, 100, 101, 178, 188, 254), telephones (42, 43, 44, 49), shared connections of other
// systems (64, 65, 137) and virtual networks (39, 56, 99, 122, 123, 124). In the order of their
// trial.
constexpr unsigned int commonThirdBytes[] = {254, 188, 137, 124, 123, 101, 99,  88,  86,  68, 65,
                                             64,  56,  50,  49,  44,  43,  42,  39,  20,  16, 15,
                                             11,  10,  8,   4,   3,   2,   122, 178, 100, 1,  0};

bool IsCommon(unsigned int thirdByte)
{
   return std::ranges::find(commonThirdBytes, thirdByte) != std::end(commonThirdBytes);
}

bool IsFree(Subnet const& subnet, std::vector<Subnet> const& occupied)
{
   return std::ranges::none_of(occupied,
                               [&](Subnet const& other) { return other.Overlaps(subnet); });
}

Subnet GetPart(Subnet const& range, unsigned int number)
{
   return {range.GetHost(number << 8), 24};
}

std::optional<Subnet> FindIn192(std::vector<Subnet> const& occupied)
{
   for (unsigned int number = 0; number < 256; ++number) {
      if (!IsCommon(number) && IsFree(GetPart(range192, number), occupied)) {
         return GetPart(range192, number);
      }
   }
   for (unsigned int const number : commonThirdBytes) {
      if (IsFree(GetPart(range192, number), occupied)) {
         return GetPart(range192, number);
      }
   }
   return {};
}

// The first free /24 of a range, upwards.
std::optional<Subnet> FindIn(Subnet const& range, std::vector<Subnet> const& occupied)
{
   unsigned int const count = 1u << (24 - range.prefixLength);
   for (unsigned int number = 0; number < count; ++number) {
      if (IsFree(GetPart(range, number), occupied)) {
         return GetPart(range, number);
      }
   }
   return {};
}

} // namespace

std::optional<Subnet> FindFreeSubnet(std::vector<Subnet> const& occupied,
                                     std::optional<Subnet> present)
{
   if (present && IsFree(*present, occupied)) {
      return present;
   }
   if (auto const found = FindIn192(occupied)) {
      return found;
   }
   if (auto const found = FindIn(range172, occupied)) {
      return found;
   }
   return FindIn(range10, occupied);
}

} // namespace vnet
