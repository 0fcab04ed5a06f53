// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/freeSubnet.hh"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vnet;

namespace {

Subnet Net(char const* address, unsigned int length)
{
   return {Address::Parse(address).value(), length};
}

TEST(FreeSubnetTest, TheFirstChoiceIsOneThatFewOthersUse)
{
   EXPECT_EQ(Net("192.168.5.0", 24), FindFreeSubnet({}, {}));
   EXPECT_EQ(Net("192.168.6.0", 24), FindFreeSubnet({Net("192.168.5.0", 24)}, {}));
}

TEST(FreeSubnetTest, AnOverlapInEitherDirectionIsAvoided)
{
   EXPECT_EQ(Net("192.168.6.0", 24), FindFreeSubnet({Net("192.168.5.77", 32)}, {}));
   EXPECT_EQ(Net("192.168.32.0", 24), FindFreeSubnet({Net("192.168.0.0", 19)}, {}));
   EXPECT_EQ(Net("172.16.0.0", 24), FindFreeSubnet({Net("192.168.0.0", 16)}, {}));
   EXPECT_EQ(Net("172.16.0.0", 24), FindFreeSubnet({Net("192.0.0.0", 4)}, {}));
   EXPECT_EQ(Net("10.0.0.0", 24),
             FindFreeSubnet({Net("192.168.0.0", 16), Net("172.16.0.0", 12)}, {}));
   EXPECT_EQ(Net("10.128.0.0", 24), FindFreeSubnet({Net("128.0.0.0", 1), Net("10.0.0.0", 9)}, {}));
}

TEST(FreeSubnetTest, NoneIsLeftWhenAllIsTaken)
{
   EXPECT_FALSE(FindFreeSubnet({Net("0.0.0.0", 0)}, {}));
   EXPECT_FALSE(
      FindFreeSubnet({Net("192.168.0.0", 16), Net("172.16.0.0", 12), Net("10.0.0.0", 8)}, {}));
}

TEST(FreeSubnetTest, APresentSubnetStaysIfItIsFree)
{
   auto const present = Net("192.168.1.0", 25);

   EXPECT_EQ(present, FindFreeSubnet({}, present));
   EXPECT_EQ(present, FindFreeSubnet({Net("192.168.1.128", 25)}, present));
   EXPECT_EQ(Net("192.168.5.0", 24), FindFreeSubnet({Net("192.168.0.0", 23)}, present));
}

// Chooses one after the other as long as there are any in 192.168.0.0/16.
std::vector<Subnet> ChooseAll()
{
   std::vector<Subnet> chosen;
   for (;;) {
      auto const next = FindFreeSubnet(chosen, {});
      if (!next || !Net("192.168.0.0", 16).Overlaps(*next)) {
         return chosen;
      }
      chosen.push_back(*next);
   }
}

TEST(FreeSubnetTest, EverySubnetOfTheRangeIsChosenOnce)
{
   auto chosen = ChooseAll();
   ASSERT_EQ(256u, chosen.size());

   std::ranges::sort(chosen);
   EXPECT_EQ(chosen.end(), std::ranges::adjacent_find(chosen));
}

TEST(FreeSubnetTest, TheDefaultsOfHomeRoutersComeLast)
{
   auto const chosen = ChooseAll();

   EXPECT_EQ(Net("192.168.0.0", 24), chosen[255]);
   EXPECT_EQ(Net("192.168.1.0", 24), chosen[254]);
   EXPECT_EQ(Net("192.168.100.0", 24), chosen[253]);
   EXPECT_EQ(Net("192.168.178.0", 24), chosen[252]);
   EXPECT_EQ(Net("192.168.122.0", 24), chosen[251]);
   EXPECT_EQ(Net("192.168.2.0", 24), chosen[250]);
}

TEST(FreeSubnetTest, NothingChosenOverlapsWhatIsTaken)
{
   std::uint32_t seed = 7;
   auto const random = [&seed] { return seed = seed * 1664525 + 1013904223; };
   for (int round = 0; round < 200; ++round) {
      std::vector<Subnet> occupied;
      for (int count = 0; count < 40; ++count) {
         unsigned int const length = 14 + random() % 19;
         Subnet const wide{{0xc0a80000 + (random() >> 16)}, length};
         occupied.push_back({{wide.address.value & wide.GetMask().value}, length});
      }
      auto const chosen = FindFreeSubnet(occupied, {});
      ASSERT_TRUE(chosen);
      EXPECT_EQ(24u, chosen->prefixLength);
      EXPECT_TRUE(std::ranges::none_of(
         occupied, [&](Subnet const& subnet) { return subnet.Overlaps(*chosen); }));
   }
}

} // namespace
