// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/layout.hh"

#include <gtest/gtest.h>

namespace vnet::services {

namespace {

Address Parse(std::string const& text)
{
   return *Address::Parse(text);
}

class LayoutTest : public testing::Test {
protected:
   LayoutTest()
   {
      network.subnetAddress = Parse("192.168.8.0");
      network.subnetMask = Parse("255.255.255.0");
      network.useAdapter = network.useDhcp = network.useNat = true;
   }

   std::optional<Layout> Make()
   {
      remarks.clear();
      return LayOut(network, "tvnet8", true, remarks);
   }

   // "adapter gateway server range range ...", "-" for what isn't there.
   std::string Describe()
   {
      auto const layout = Make();
      if (!layout) {
         return "none";
      }
      auto const text = [](std::optional<Address> address) {
         return address ? address->ToString() : "-";
      };
      std::string all =
         text(layout->adapter) + " " + text(layout->gateway) + " " + text(layout->server);
      for (auto const& [begin, end] : layout->ranges) {
         all += " " + begin.ToString() + "-" + end.ToString();
      }
      return all;
   }

   std::string DescribeIn(std::string const& address, std::string const& mask)
   {
      network.subnetAddress = Parse(address);
      network.subnetMask = Parse(mask);
      return Describe();
   }

   void SetRange(std::string const& begin, std::string const& end)
   {
      network.dhcp.rangeBegin = Address::Parse(begin);
      network.dhcp.rangeEnd = Address::Parse(end);
   }

   std::string Describe6(std::string const& prefix)
   {
      network.nat.enableIpv6 = true;
      network.nat.ipv6Prefix = Prefix6::Parse(prefix);
      auto const layout = Make();
      if (!layout->ipv6) {
         return "none";
      }
      auto const& ipv6 = *layout->ipv6;
      return ipv6.prefix.ToString() + " " + ipv6.adapter.value_or("-") + " " + ipv6.gateway + " " +
             ipv6.rangeBegin + " " + ipv6.rangeEnd;
   }

   NetworkSettings network;
   std::vector<std::string> remarks;
};

TEST_F(LayoutTest, AnOrdinaryNetworkHasItsUsualAddresses)
{
   EXPECT_EQ("192.168.8.1 192.168.8.2 192.168.8.254 192.168.8.128-192.168.8.253", Describe());
   EXPECT_TRUE(remarks.empty());
}

TEST_F(LayoutTest, OtherSizesFollowTheSamePattern)
{
   EXPECT_EQ("10.0.0.1 10.0.0.2 10.255.255.254 10.128.0.0-10.255.255.253",
             DescribeIn("10.0.0.0", "255.0.0.0"));
   EXPECT_EQ("172.16.0.1 172.16.0.2 172.16.255.254 172.16.128.0-172.16.255.253",
             DescribeIn("172.16.0.0", "255.255.0.0"));
   EXPECT_EQ("192.168.8.129 192.168.8.130 192.168.8.254 192.168.8.192-192.168.8.253",
             DescribeIn("192.168.8.128", "255.255.255.128"));
   EXPECT_EQ("192.168.8.17 192.168.8.18 192.168.8.30 192.168.8.24-192.168.8.29",
             DescribeIn("192.168.8.16", "255.255.255.240"));
   EXPECT_EQ("192.168.8.9 192.168.8.10 192.168.8.14 192.168.8.12-192.168.8.13",
             DescribeIn("192.168.8.8", "255.255.255.248"));
}

TEST_F(LayoutTest, WhatIsNotUsedHasNoAddress)
{
   network.useNat = false;
   EXPECT_EQ("192.168.8.1 - 192.168.8.254 192.168.8.128-192.168.8.253", Describe());
   network.useDhcp = false;
   EXPECT_EQ("192.168.8.1 - -", Describe());
   network.useAdapter = false;
   EXPECT_EQ("- - -", Describe());
   network.useNat = true;
   EXPECT_EQ("- 192.168.8.2 192.168.8.254", Describe()) << "the server answers DNS";
}

TEST_F(LayoutTest, TheUsersGatewayIsLeftOutOfAllOthers)
{
   network.nat.gateway = Parse("192.168.8.1");
   EXPECT_EQ("192.168.8.2 192.168.8.1 192.168.8.254 192.168.8.128-192.168.8.253", Describe());
   network.nat.gateway = Parse("192.168.8.254");
   EXPECT_EQ("192.168.8.1 192.168.8.254 192.168.8.253 192.168.8.128-192.168.8.252", Describe());
   network.nat.gateway = Parse("192.168.8.253");
   EXPECT_EQ("192.168.8.1 192.168.8.253 192.168.8.254 192.168.8.128-192.168.8.252", Describe());
   network.nat.gateway = Parse("192.168.8.128");
   EXPECT_EQ("192.168.8.1 192.168.8.128 192.168.8.254 192.168.8.129-192.168.8.253", Describe());
   network.nat.gateway = Parse("192.168.8.200");
   EXPECT_EQ("192.168.8.1 192.168.8.200 192.168.8.254 192.168.8.128-192.168.8.199 "
             "192.168.8.201-192.168.8.253",
             Describe());
   network.nat.gateway = Parse("192.168.8.6");
   EXPECT_EQ("192.168.8.1 192.168.8.6 192.168.8.5 192.168.8.4-192.168.8.4",
             DescribeIn("192.168.8.0", "255.255.255.248"));
}

TEST_F(LayoutTest, AGatewayThatIsNoHostOfTheSubnetIsNotTaken)
{
   for (auto const* address : {"192.168.8.0", "192.168.8.255", "192.168.9.2"}) {
      network.nat.gateway = Parse(address);
      EXPECT_EQ("192.168.8.1 192.168.8.2 192.168.8.254 192.168.8.128-192.168.8.253", Describe());
      ASSERT_EQ(1u, remarks.size()) << address;
      EXPECT_EQ(std::string("make ") + address +
                   " the gateway of tvnet8: it is no host of 192.168.8.0/24",
                remarks[0]);
   }
}

TEST_F(LayoutTest, AHostOnlyNetworkHasNoGatewayToLeaveOut)
{
   network.useNat = false;
   network.nat.gateway = Parse("192.168.8.1");
   EXPECT_EQ("192.168.8.1 - 192.168.8.254 192.168.8.128-192.168.8.253", Describe());
   EXPECT_TRUE(remarks.empty());
}

TEST_F(LayoutTest, ARangeOfThePresentSubnetIsTheOneLeased)
{
   SetRange("192.168.8.10", "192.168.8.20");
   EXPECT_EQ("192.168.8.1 192.168.8.2 192.168.8.254 192.168.8.10-192.168.8.20", Describe());
   SetRange("192.168.8.1", "192.168.8.254");
   EXPECT_EQ("192.168.8.1 192.168.8.2 192.168.8.254 192.168.8.3-192.168.8.253", Describe());
}

// It may be turned on while the addresses are leased.
TEST_F(LayoutTest, TheAddressOfAnUnusedAdapterIsNotLeased)
{
   network.useAdapter = false;
   SetRange("192.168.8.1", "192.168.8.3");
   EXPECT_EQ("- 192.168.8.2 192.168.8.254 192.168.8.3-192.168.8.3", Describe());
}

TEST_F(LayoutTest, ARangeOfAnotherSubnetIsNotTaken)
{
   auto const usual = Describe();
   for (auto const& [begin, end] :
        {std::pair("192.168.9.10", "192.168.9.20"), std::pair("192.168.8.20", "192.168.8.10"),
         std::pair("192.168.8.0", "192.168.8.20"), std::pair("192.168.8.10", "192.168.8.255"),
         std::pair("192.168.8.10", "")}) {
      SetRange(begin, end);
      EXPECT_EQ(usual, Describe()) << begin << " " << end;
      EXPECT_EQ(1u, remarks.size()) << begin << " " << end;
   }
}

TEST_F(LayoutTest, ARangeWithoutAFreeAddressIsTold)
{
   SetRange("192.168.8.1", "192.168.8.2");
   EXPECT_EQ("192.168.8.1 192.168.8.2 192.168.8.254", Describe());
   ASSERT_EQ(1u, remarks.size());
   EXPECT_EQ("lease addresses in tvnet8: its range has none that is free", remarks[0]);
}

TEST_F(LayoutTest, APairHoldsOneBesideAGuest)
{
   EXPECT_EQ("- 192.168.8.2 -", DescribeIn("192.168.8.0", "255.255.255.252"));
   EXPECT_EQ(2u, remarks.size());
   network.useNat = false;
   EXPECT_EQ("192.168.8.1 - -", Describe());
   EXPECT_EQ(1u, remarks.size());
}

TEST_F(LayoutTest, WhatIsNoSubnetOfHostsHoldsNothing)
{
   for (auto const& [address, mask] :
        {std::pair("192.168.8.0", "255.255.255.254"), std::pair("192.168.8.0", "255.255.255.255"),
         std::pair("127.0.0.0", "255.255.255.0"), std::pair("0.0.0.0", "255.255.255.0"),
         std::pair("64.0.0.0", "192.0.0.0"), std::pair("224.0.0.0", "255.255.255.0"),
         std::pair("255.255.255.0", "255.255.255.0"), std::pair("192.168.8.1", "255.255.255.0")}) {
      EXPECT_EQ("none", DescribeIn(address, mask)) << address << " " << mask;
      EXPECT_EQ(1u, remarks.size());
   }
   network.subnetMask.reset();
   EXPECT_EQ("none", Describe());
   EXPECT_EQ("serve tvnet8: it has no subnet", remarks.at(0));
}

TEST_F(LayoutTest, GuestsAreAllHostsThatNobodyElseIs)
{
   auto const layout = *Make();
   EXPECT_TRUE(layout.IsGuest(Parse("192.168.8.3")));
   EXPECT_TRUE(layout.IsGuest(Parse("192.168.8.253")));
   for (auto const* address : {"192.168.8.0", "192.168.8.1", "192.168.8.2", "192.168.8.254",
                               "192.168.8.255", "192.168.9.3"}) {
      EXPECT_FALSE(layout.IsGuest(Parse(address))) << address;
   }
   network.useAdapter = false;
   EXPECT_TRUE(Make()->IsGuest(Parse("192.168.8.1")));
}

TEST_F(LayoutTest, Ipv6FollowsTheSamePattern)
{
   EXPECT_EQ("fd00:1:2:3::/64 fd00:1:2:3::1 fd00:1:2:3::2 fd00:1:2:3::8000 fd00:1:2:3::fffe",
             Describe6("fd00:1:2:3::/64"));
   EXPECT_EQ("2001:db8::/120 2001:db8::1 2001:db8::2 2001:db8::80 2001:db8::fe",
             Describe6("2001:db8::/120"));
   EXPECT_EQ("2001:db8::/125 2001:db8::1 2001:db8::2 2001:db8::4 2001:db8::6",
             Describe6("2001:db8::/125"));
   EXPECT_EQ("fd00:1::/64 fd00:1::1 fd00:1::2 fd00:1::8000 fd00:1::fffe", Describe6("fd00:1::/48"))
      << "the first link of a shorter prefix";
   network.useAdapter = false;
   EXPECT_EQ("fd00:1:2:3::/64 - fd00:1:2:3::2 fd00:1:2:3::8000 fd00:1:2:3::fffe",
             Describe6("fd00:1:2:3::/64"));
}

TEST_F(LayoutTest, OnlyPrefixesOfHostsHoldANetwork)
{
   for (auto const* prefix :
        {"::/64", "::/0", "fe80::/64", "febf::/64", "ff02::/64", "fd00::/126", "fd00::/128"}) {
      EXPECT_EQ("none", Describe6(prefix)) << prefix;
      EXPECT_EQ(1u, remarks.size());
   }
   network.nat.ipv6Prefix.reset();
   EXPECT_FALSE(Make()->ipv6);
   EXPECT_EQ("use IPv6 in tvnet8: it has no prefix", remarks.at(0));
}

TEST_F(LayoutTest, Ipv6NeedsRoomAndAKernel)
{
   network.mtu = 1280;
   EXPECT_NE("none", Describe6("fd00::/64"));
   network.mtu = 1279;
   EXPECT_EQ("none", Describe6("fd00::/64"));
   network.mtu.reset();
   EXPECT_FALSE(LayOut(network, "tvnet8", false, remarks)->ipv6);
}

TEST_F(LayoutTest, Ipv6IsForNatAndIfAsked)
{
   network.nat.ipv6Prefix = Prefix6::Parse("fd00::/64");
   EXPECT_FALSE(Make()->ipv6);
   network.nat.enableIpv6 = true;
   network.useNat = false;
   EXPECT_FALSE(Make()->ipv6);
   EXPECT_TRUE(remarks.empty());
}

} // namespace

} // namespace vnet::services
