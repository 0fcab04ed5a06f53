// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/settings.hh"

#include <gtest/gtest.h>

using namespace std::literals;
using namespace vnet;

namespace {

TEST(NetworkNameTest, EveryIndexHasOne)
{
   for (unsigned int index = 0; index < maxNetworks; ++index) {
      EXPECT_EQ(index, ParseNetworkName(GetNetworkName(index)));
   }
   EXPECT_EQ("tvnet8", GetNetworkName(8));
}

TEST(NetworkNameTest, AnyOtherTextIsNone)
{
   for (auto const name : {""sv, "tvnet"sv, "tvnet256"sv, "tvnet08"sv, "tvnet-1"sv, "tvnet+1"sv,
                           "tvnet1 "sv, " tvnet1"sv, "Tvnet1"sv, "tvnet1\0"sv, "tvnet1\n"sv,
                           "net1"sv, "tvnet1/../.."sv, "tvnet4294967297"sv, "tvnet1.5"sv}) {
      EXPECT_FALSE(ParseNetworkName(name)) << name;
   }
}

TEST(NetworkSettingsTest, AnySubnetAdapterOrServiceMakesItHosted)
{
   NetworkSettings named;
   named.displayName = "x";
   NetworkSettings addressed;
   addressed.subnetAddress = Address{1};
   NetworkSettings adapter;
   adapter.useAdapter = true;
   NetworkSettings dhcp;
   dhcp.useDhcp = true;
   NetworkSettings nat;
   nat.useNat = true;

   EXPECT_FALSE(NetworkSettings().IsHosted());
   EXPECT_FALSE(named.IsHosted());
   EXPECT_TRUE(addressed.IsHosted());
   EXPECT_TRUE(adapter.IsHosted());
   EXPECT_TRUE(dhcp.IsHosted());
   EXPECT_TRUE(nat.IsHosted());
}

TEST(NetworkSettingsTest, HasASubnetIfAddressAndMaskAgree)
{
   NetworkSettings network;
   EXPECT_FALSE(network.GetSubnet());

   network.subnetAddress = Address::Parse("192.168.8.0");
   EXPECT_FALSE(network.GetSubnet());

   network.subnetMask = Address::Parse("255.255.255.0");
   ASSERT_TRUE(network.GetSubnet());
   EXPECT_EQ("192.168.8.0/24", network.GetSubnet()->ToString());

   network.subnetAddress = Address::Parse("192.168.8.1");
   EXPECT_FALSE(network.GetSubnet());
}

} // namespace
