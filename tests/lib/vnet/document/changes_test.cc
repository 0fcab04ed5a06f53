// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/document/sampleSettings.hh"
#include "vnet/document/changes.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vnet::document {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Describe(Settings const& before, Settings const& after)
{
   std::vector<std::string> texts;
   for (auto const& change : FindChanges(before, after)) {
      texts.push_back(ToString(change));
   }
   return texts;
}

TEST(ChangesTest, EqualSettingsHaveNone)
{
   EXPECT_THAT(Describe(MakeSampleSettings(), MakeSampleSettings()), IsEmpty());
   EXPECT_THAT(Describe({}, {}), IsEmpty());
}

TEST(ChangesTest, EachKindIsTold)
{
   auto const before = MakeSampleSettings();
   auto after = before;
   after.automatic = {};
   after.adapters = {{"eth0", 3}, {"eth2", 3}};
   after.networks.erase(1);
   after.networks[5].displayName = "five";
   auto& network = after.networks[8];
   network.mtu = {};
   network.useNat = false;
   network.nat.forwards.erase(network.nat.forwards.begin());
   network.nat.forwards[0].vmPort = 23;
   network.nat.forwards.push_back({false, 99, *Address::Parse("192.168.8.7"), 1, ""});
   EXPECT_THAT(Describe(before, after),
               ElementsAre("automatic: tvnet0 -> none", "adapter eth0: tvnet0 -> tvnet3",
                           "adapter eth1: tvnet0 -> none", "tvnet1: there -> none",
                           "tvnet5: none -> there", "tvnet5 name: none -> five",
                           "tvnet8 mtu: 1400 -> none", "tvnet8 nat: true -> false",
                           "tvnet8 forward tcp 2222: 192.168.8.100:22 -> 192.168.8.100:23",
                           "tvnet8 forward tcp 80: 192.168.8.100:8080 (web) -> none",
                           "tvnet8 forward udp 99: none -> 192.168.8.7:1"));
}

} // namespace

} // namespace vnet::document
