// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/macAddress.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

TEST(MacAddressTest, WhatIsWrittenReadsBack)
{
   auto const mac = MacAddress::Parse("02:1a:B0:00:ff:09");
   ASSERT_TRUE(mac);
   EXPECT_EQ((MacAddress{{0x02, 0x1a, 0xb0, 0x00, 0xff, 0x09}}), *mac);
   EXPECT_EQ("02:1a:b0:00:ff:09", mac->ToString());
}

TEST(MacAddressTest, OtherTextsAreNone)
{
   for (auto const* text :
        {"", "02", "02:1a:b0:00:ff", "02:1a:b0:00:ff:09:", "02:1a:b0:00:ff:09:11",
         "2:1a:b0:00:ff:09", "02:1a:b0:00:ff:9", "02-1a-b0-00-ff-09", "02:1a:b0:00:ff:0g",
         " 2:1a:b0:00:ff:09", "+2:1a:b0:00:ff:09", "02:1a:b0:00:ff:0 ", "02:1a:b0:00:ff0:9"}) {
      EXPECT_FALSE(MacAddress::Parse(text)) << text;
   }
   EXPECT_FALSE(MacAddress::Parse(std::string_view("02:1a:b0:00:ff:0\0", 17)));
}

TEST(MacAddressTest, RandomOnesAreLocalAndForOneDevice)
{
   MacAddress last;
   for (int i = 0; i < 100; ++i) {
      auto const mac = MacAddress::MakeRandom();
      EXPECT_FALSE(mac.IsMulticast());
      EXPECT_TRUE(mac.bytes[0] & 2);
      EXPECT_NE(last, mac);
      last = mac;
   }
}

} // namespace

} // namespace vnet::host
