// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/address.hh"

#include <gtest/gtest.h>

using namespace std::literals;
using vnet::Address;
using vnet::GetPrefixLength;
using vnet::Prefix6;
using vnet::Subnet;

namespace {

Address At(std::string_view text)
{
   return Address::Parse(text).value();
}

Subnet Net(std::string_view address, unsigned int length)
{
   return {At(address), length};
}

TEST(AddressTest, FourNumbersAreAnAddress)
{
   EXPECT_EQ(0u, At("0.0.0.0").value);
   EXPECT_EQ(0xffffffffu, At("255.255.255.255").value);
   EXPECT_EQ(0xc0a80801u, At("192.168.8.1").value);
}

TEST(AddressTest, AnythingElseIsNone)
{
   std::string_view const bad[] = {
      "",
      "1",
      "1.2.3",
      "1.2.3.4.5",
      "1.2.3.4.",
      ".1.2.3.4",
      "1..3.4",
      "1.2.3.256",
      "01.2.3.4",
      "1.2.3.00",
      " 1.2.3.4",
      "1.2.3.4 ",
      "1.2.3.4\n",
      "+1.2.3.4",
      "-1.2.3.4",
      "0x1.2.3.4",
      "1.2.3.4\0"sv,
      "1.2.3\0.4"sv,
      "1.2.3.4;",
      "1.2.3.{4}",
      "1,2,3,4",
      "1.2.3.99999999999999999999",
      "\"1.2.3.4\"",
      "::1",
      "1.2.3.4/24",
      "１.2.3.4",
      "1.2.3.\xff",
   };
   for (auto const text : bad) {
      EXPECT_FALSE(Address::Parse(text)) << text;
   }
}

TEST(AddressTest, WhatIsWrittenIsReadAgain)
{
   std::uint32_t value = 1;
   for (int count = 0; count < 10000; ++count) {
      value = value * 1664525 + 1013904223;
      EXPECT_EQ(value, At(Address{value}.ToString()).value);
   }
}

TEST(MaskTest, AContiguousMaskHasALength)
{
   std::uint64_t const all = 0xffffffff;
   for (unsigned int length = 0; length <= 32; ++length) {
      Address const mask{static_cast<std::uint32_t>(all << (32 - length))};
      EXPECT_EQ(length, GetPrefixLength(mask));
      EXPECT_EQ(mask, (Subnet{{0}, length}.GetMask()));
   }
}

TEST(MaskTest, AMaskWithAGapHasNone)
{
   for (auto const text : {"255.0.255.0", "0.0.0.255", "255.255.255.1", "127.255.255.255",
                           "255.255.255.253", "0.255.255.255"}) {
      EXPECT_FALSE(GetPrefixLength(At(text))) << text;
   }
}

TEST(SubnetTest, NeedsAContiguousMaskAndNoHostBits)
{
   EXPECT_EQ(Net("192.168.8.0", 24), Subnet::Make(At("192.168.8.0"), At("255.255.255.0")));
   EXPECT_EQ(Net("10.0.0.1", 32), Subnet::Make(At("10.0.0.1"), At("255.255.255.255")));
   EXPECT_EQ(Net("0.0.0.0", 0), Subnet::Make(At("0.0.0.0"), At("0.0.0.0")));
   EXPECT_FALSE(Subnet::Make(At("192.168.8.1"), At("255.255.255.0")));
   EXPECT_FALSE(Subnet::Make(At("192.168.8.0"), At("255.0.255.0")));
}

TEST(SubnetTest, KnowsItsAddresses)
{
   auto const subnet = Net("192.168.8.128", 25);

   EXPECT_EQ("192.168.8.128/25", subnet.ToString());
   EXPECT_EQ(At("255.255.255.128"), subnet.GetMask());
   EXPECT_EQ(At("192.168.8.255"), subnet.GetBroadcast());
   EXPECT_EQ(At("192.168.8.129"), subnet.GetHost(1));
   EXPECT_TRUE(subnet.Contains(At("192.168.8.128")));
   EXPECT_TRUE(subnet.Contains(At("192.168.8.255")));
   EXPECT_FALSE(subnet.Contains(At("192.168.8.127")));
   EXPECT_FALSE(subnet.Contains(At("192.168.9.0")));
}

TEST(SubnetTest, ItsFirstAndLastAddressAreNoHosts)
{
   auto const subnet = Net("192.168.8.0", 24);

   EXPECT_TRUE(subnet.IsHost(At("192.168.8.1")));
   EXPECT_TRUE(subnet.IsHost(At("192.168.8.254")));
   EXPECT_FALSE(subnet.IsHost(At("192.168.8.0")));
   EXPECT_FALSE(subnet.IsHost(At("192.168.8.255")));
   EXPECT_FALSE(subnet.IsHost(At("192.168.9.1")));
}

TEST(SubnetTest, OverlapsInEitherDirection)
{
   struct {
      Subnet one;
      Subnet other;
      bool overlap;
   } const cases[] = {
      {Net("10.0.0.0", 8), Net("10.200.3.0", 24), true},
      {Net("10.0.0.0", 24), Net("10.0.0.77", 32), true},
      {Net("10.0.0.0", 24), Net("10.0.0.0", 24), true},
      {Net("0.0.0.0", 0), Net("10.0.0.0", 24), true},
      {Net("10.0.0.0", 24), Net("10.0.1.0", 24), false},
      {Net("10.0.0.0", 25), Net("10.0.0.128", 25), false},
      {Net("10.0.0.0", 8), Net("11.0.0.0", 8), false},
   };
   for (auto const& pair : cases) {
      EXPECT_EQ(pair.overlap, pair.one.Overlaps(pair.other)) << pair.one.ToString();
      EXPECT_EQ(pair.overlap, pair.other.Overlaps(pair.one)) << pair.other.ToString();
   }
}

TEST(Prefix6Test, IsWrittenCanonically)
{
   struct {
      std::string_view text;
      std::string_view canonical;
   } const cases[] = {
      {"fd00::/64", "fd00::/64"},
      {"FD00:0:0::/64", "fd00::/64"},
      {"fd00::1/64", "fd00::/64"},
      {"fd00:1:2:3:ffff::/63", "fd00:1:2:2::/63"},
      {"::/0", "::/0"},
      {"ffff::/0", "::/0"},
      {"fd00::1/128", "fd00::1/128"},
      {"::ffff:1.2.3.4/128", "::ffff:1.2.3.4/128"},
   };
   for (auto const& [text, canonical] : cases) {
      auto const prefix = Prefix6::Parse(text);
      ASSERT_TRUE(prefix) << text;
      EXPECT_EQ(canonical, prefix->ToString());
      EXPECT_EQ(prefix, Prefix6::Parse(prefix->ToString()));
   }
}

TEST(Prefix6Test, AnythingElseIsNone)
{
   std::string_view const bad[] = {
      "",           "fd00::",       "fd00::/",           "/64",         "fd00::/129",
      "fd00::/-1",  "fd00::/+64",   "fd00::/064",        "fd00::/64 ",  " fd00::/64",
      "fd00:: /64", "fd00::/64\n",  "1.2.3.4/24",        "xyz/64",      "fd00::%lo/64",
      "fd00::/64/", "fd00::/6\0"sv, "fd00::\0/64"sv,     "[fd00::]/64", "fd00::/abc",
      "fd00:::/64", "12345::/64",   "fd00::/4294967360",
   };
   for (auto const text : bad) {
      EXPECT_FALSE(Prefix6::Parse(text)) << text;
   }
}

TEST(Prefix6Test, NumbersItsHosts)
{
   auto const prefix = Prefix6::Parse("fd00:1::/64").value();

   EXPECT_EQ("fd00:1::2", prefix.GetHost(2));
   EXPECT_EQ("fd00:1:0:0:1::", prefix.GetHost(std::uint64_t{1} << 48));
   EXPECT_EQ("fd00:1::ffff:ffff:ffff:ffff", prefix.GetHost(~std::uint64_t{0}));
}

} // namespace
