// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/inetAddress.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

TEST(InetAddressTest, BothFamiliesReadBack)
{
   for (auto const* text : {"192.168.8.1", "0.0.0.0", "fd00::1", "::", "fe80::a:b:c:d"}) {
      auto const address = InetAddress::Parse(text);
      ASSERT_TRUE(address) << text;
      EXPECT_EQ(text, address->ToString());
   }
   for (auto const* text : {"", "192.168.8", "fd00::1%lo", "1.2.3.4/24", "host"}) {
      EXPECT_FALSE(InetAddress::Parse(text)) << text;
   }
}

TEST(InetAddressTest, AnAddressComesBackAsItWas)
{
   Address const address{0xc0a80801};
   EXPECT_EQ("192.168.8.1", InetAddress(address).ToString());
   EXPECT_EQ(address, InetAddress(address).ToAddress());
   EXPECT_FALSE(InetAddress::Parse("::1")->ToAddress());
}

TEST(InetAddressTest, BytesOfTheWrongNumberAreNoAddress)
{
   unsigned char const bytes[17] = {10, 1, 2, 3};
   EXPECT_EQ("10.1.2.3", InetAddress::FromBytes(AF_INET, bytes, 4)->ToString());
   EXPECT_EQ("a01:203::", InetAddress::FromBytes(AF_INET6, bytes, 16)->ToString());
   EXPECT_FALSE(InetAddress::FromBytes(AF_INET, bytes, 3));
   EXPECT_FALSE(InetAddress::FromBytes(AF_INET, bytes, 16));
   EXPECT_FALSE(InetAddress::FromBytes(AF_INET6, bytes, 4));
   EXPECT_FALSE(InetAddress::FromBytes(AF_INET6, bytes, 17));
   EXPECT_FALSE(InetAddress::FromBytes(AF_PACKET, bytes, 4));
}

TEST(InetAddressTest, UnspecifiedIsAllZero)
{
   EXPECT_TRUE(InetAddress::Parse("0.0.0.0")->IsUnspecified());
   EXPECT_TRUE(InetAddress::Parse("::")->IsUnspecified());
   EXPECT_FALSE(InetAddress::Parse("::1")->IsUnspecified());
}

} // namespace

} // namespace vnet::host
