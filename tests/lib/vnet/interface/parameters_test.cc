// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/interface/interfaceTest.hh"

#include <cstring>
#include <gmock/gmock.h>

using namespace std::literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using Getter = bool (*)(char const*, std::uint32_t, int, char*, std::uint32_t*);
using Setter = bool (*)(char const*, std::uint32_t, char const*, std::uint32_t);

struct Kind {
   Getter get;
   Setter set;
   char const* name;
};
Kind const nat = {VNL_GetNATParam, VNL_SetNATParam, "NAT"};
Kind const dhcp = {VNL_GetDHCPParam, VNL_SetDHCPParam, "DHCP"};

class ParametersTest : public test::InterfaceTest {
protected:
   void SetUp() override
   {
      Load(minimal + "[tvnet8]\nsubnet=10.1.2.0\nmask=255.255.255.0\nnat=true\n");
   }

   static std::string Get(Kind const& kind, std::uint32_t id)
   {
      // The caller's NUL goes behind the longest value.
      char buffer[VNL_VALUE_SIZE + 1];
      std::memset(buffer, '?', sizeof buffer);
      std::uint32_t length = VNL_VALUE_SIZE;
      EXPECT_TRUE(kind.get("tvnet8", id, 1, buffer, &length)) << id;
      EXPECT_EQ('?', buffer[length]) << id;
      return {buffer, length};
   }
   static bool Set(Kind const& kind, std::uint32_t id, std::string_view value)
   {
      return kind.set("tvnet8", id, value.empty() ? nullptr : value.data(), value.size());
   }

   void ExpectGood(Kind const& kind, std::uint32_t id, std::vector<std::string_view> const& values)
   {
      for (auto const value : values) {
         EXPECT_TRUE(Set(kind, id, value)) << value;
         EXPECT_EQ(value, Get(kind, id));
      }
      EXPECT_THAT(TakeLog(), IsEmpty());
   }
   void ExpectBad(Kind const& kind, std::uint32_t id, std::vector<std::string_view> values)
   {
      static std::string const tooLong(129, '1');
      static std::string const endless(1 << 20, '1');
      for (auto const hostile :
           {"\n"sv, "1\n"sv, "\0"sv, "1\0"sv, "\xff"sv, ";"sv, "{"sv, "}"sv, "1;drop"sv, "\"1\""sv,
            " 1"sv, "1 "sv, "+1"sv, "\x7f"sv, "\xc2\x85"sv, "$(id)"sv, "`id`"sv,
            std::string_view(tooLong), std::string_view(endless)}) {
         values.push_back(hostile);
      }
      auto const before = Export();
      char start[100];
      std::snprintf(start, sizeof start, "LogV(2): set %s parameter 0x%x of tvnet8: ", kind.name,
                    id);
      for (auto const value : values) {
         EXPECT_FALSE(Set(kind, id, value)) << id << " " << value;
         EXPECT_THAT(TakeLog(), ElementsAre(StartsWith(start))) << value;
      }
      EXPECT_EQ(before, Export());
   }
};

TEST_F(ParametersTest, WhatWasNeverSetReadsAsItsDefault)
{
   EXPECT_EQ("", Get(nat, VNL_NAT_GATEWAY));
   EXPECT_EQ("0", Get(nat, VNL_NAT_CONFIG_PORT));
   EXPECT_EQ("1", Get(nat, VNL_NAT_ALLOW_ACTIVE_FTP));
   EXPECT_EQ("1", Get(nat, VNL_NAT_ALLOW_ANY_OUI));
   EXPECT_EQ("30", Get(nat, VNL_NAT_UDP_TIMEOUT));
   EXPECT_EQ("0", Get(nat, VNL_NAT_ENABLE_IPV6));
   EXPECT_EQ("", Get(nat, VNL_NAT_IPV6_PREFIX));

   EXPECT_EQ("", Get(dhcp, VNL_DHCP_RANGE_BEGIN));
   EXPECT_EQ("", Get(dhcp, VNL_DHCP_RANGE_END));
   EXPECT_EQ("1800", Get(dhcp, VNL_DHCP_DEFAULT_LEASE));
   EXPECT_EQ("7200", Get(dhcp, VNL_DHCP_MAX_LEASE));
   EXPECT_EQ("", Get(dhcp, VNL_DHCP_NETBIOS_SERVER));
   EXPECT_EQ("", Get(dhcp, VNL_DHCP_ROUTER));
   EXPECT_EQ("", Get(dhcp, VNL_DHCP_DNS_SERVER));
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(ParametersTest, TheGateway)
{
   ExpectGood(nat, VNL_NAT_GATEWAY, {"10.1.2.2", "10.1.2.254", "10.1.2.1"});
   ExpectBad(nat, VNL_NAT_GATEWAY,
             {"10.1.2.0", "10.1.2.255", "10.1.3.2", "192.168.5.2", "0.0.0.0", "255.255.255.255",
              "127.0.0.1", "224.0.0.1", "10.1.2", "10.1.2.256", "010.1.2.2", "10.1.2.2/24",
              "gateway"});
   EXPECT_EQ("10.1.2.1", Get(nat, VNL_NAT_GATEWAY));
}

TEST_F(ParametersTest, AGatewayWithoutASubnetIsAnyHost)
{
   ASSERT_TRUE(VNL_SetVnetSubnetAddr("tvnet8", nullptr));
   ExpectGood(nat, VNL_NAT_GATEWAY, {"10.1.2.0", "192.168.5.2"});
   ExpectBad(nat, VNL_NAT_GATEWAY, {"255.255.255.255", "0.0.0.0"});
}

TEST_F(ParametersTest, TheNumbersAndSwitchesOfNat)
{
   ExpectGood(nat, VNL_NAT_CONFIG_PORT, {"1", "65535", "0"});
   ExpectBad(nat, VNL_NAT_CONFIG_PORT, {"65536", "-1", "00", "080", "http", "1.0"});
   ExpectGood(nat, VNL_NAT_UDP_TIMEOUT, {"0", "1", "32767", "86400"});
   ExpectBad(nat, VNL_NAT_UDP_TIMEOUT, {"00", "86401", "-30", "030", "30s"});
   for (auto const id : {VNL_NAT_ALLOW_ACTIVE_FTP, VNL_NAT_ALLOW_ANY_OUI, VNL_NAT_ENABLE_IPV6}) {
      ExpectGood(nat, id, {"0", "1", "0"});
      ExpectBad(nat, id, {"2", "true", "false", "yes", "01", "-1"});
   }
}

TEST_F(ParametersTest, TheIpv6Prefix)
{
   ExpectGood(nat, VNL_NAT_IPV6_PREFIX, {"fd00::/64", "fd00:1:2::/48", "::/0", "fd00::1/128"});
   EXPECT_TRUE(Set(nat, VNL_NAT_IPV6_PREFIX, "FD00:0:0:1:0::9/64"));
   EXPECT_EQ("fd00:0:0:1::/64", Get(nat, VNL_NAT_IPV6_PREFIX));
   ExpectBad(nat, VNL_NAT_IPV6_PREFIX,
             {"fd00::", "fd00::/", "/64", "fd00::/129", "fd00::/-1", "fd00::/064", "fd00::/+64",
              "1.2.3.4/24", "xyz/64", "fd00::%lo/64", "[fd00::]/64", "fd00:::/64"});
}

TEST_F(ParametersTest, TheParametersOfDhcp)
{
   for (auto const id : {VNL_DHCP_RANGE_BEGIN, VNL_DHCP_RANGE_END, VNL_DHCP_NETBIOS_SERVER,
                         VNL_DHCP_ROUTER, VNL_DHCP_DNS_SERVER}) {
      ExpectGood(dhcp, id, {"10.1.2.100", "192.168.5.2"});
      ExpectBad(dhcp, id, {"10.1.2.0", "10.1.2.255", "0.0.0.0", "10.1.2", "name"});
   }
   for (auto const id : {VNL_DHCP_DEFAULT_LEASE, VNL_DHCP_MAX_LEASE}) {
      ExpectGood(dhcp, id, {"1", "600", "2147483647"});
      ExpectBad(dhcp, id, {"0", "2147483648", "-1", "0600", "1h"});
   }
}

TEST_F(ParametersTest, TheEmptyValuePutsTheDefaultBack)
{
   struct {
      Kind const& kind;
      std::uint32_t id;
      std::string_view value;
   } const cases[] = {
      {nat, VNL_NAT_GATEWAY, "10.1.2.9"},      {nat, VNL_NAT_CONFIG_PORT, "80"},
      {nat, VNL_NAT_ALLOW_ACTIVE_FTP, "0"},    {nat, VNL_NAT_ALLOW_ANY_OUI, "0"},
      {nat, VNL_NAT_UDP_TIMEOUT, "60"},        {nat, VNL_NAT_ENABLE_IPV6, "1"},
      {nat, VNL_NAT_IPV6_PREFIX, "fd00::/64"}, {dhcp, VNL_DHCP_RANGE_BEGIN, "10.1.2.9"},
      {dhcp, VNL_DHCP_MAX_LEASE, "60"},        {dhcp, VNL_DHCP_DNS_SERVER, "10.1.2.9"},
   };
   for (auto const& each : cases) {
      auto const before = Get(each.kind, each.id);
      ASSERT_TRUE(Set(each.kind, each.id, each.value));
      ASSERT_EQ(each.value, Get(each.kind, each.id));
      EXPECT_TRUE(each.kind.set("tvnet8", each.id, nullptr, 0));
      EXPECT_EQ(before, Get(each.kind, each.id)) << each.id;
      EXPECT_TRUE(each.kind.set("tvnet8", each.id, "ignored", 0));
      EXPECT_EQ(before, Get(each.kind, each.id)) << each.id;
   }
}

TEST_F(ParametersTest, TheSizeDecidesNotTheNul)
{
   EXPECT_TRUE(VNL_SetNATParam("tvnet8", VNL_NAT_UDP_TIMEOUT, "6000", 2));
   EXPECT_EQ("60", Get(nat, VNL_NAT_UDP_TIMEOUT));
   EXPECT_FALSE(VNL_SetNATParam("tvnet8", VNL_NAT_UDP_TIMEOUT, nullptr, 2));
   EXPECT_FALSE(VNL_SetNATParam("tvnet8", VNL_NAT_UDP_TIMEOUT, "60", 3));
   EXPECT_EQ("60", Get(nat, VNL_NAT_UDP_TIMEOUT));
}

TEST_F(ParametersTest, UnknownNumbersAndModesAreRefused)
{
   char buffer[16] = "before";
   std::uint32_t length = 16;
   for (std::uint32_t const id : {0u, 0x2342u, 0x2344u, 0x2345u, 0x235cu, 0x3426u, 0xffffffffu}) {
      EXPECT_FALSE(VNL_GetNATParam("tvnet8", id, 1, buffer, &length)) << id;
      EXPECT_FALSE(VNL_SetNATParam("tvnet8", id, "1", 1)) << id;
   }
   for (std::uint32_t const id : {0u, 0x3425u, 0x3428u, 0x342cu, 0x3433u, 0x2343u}) {
      EXPECT_FALSE(VNL_GetDHCPParam("tvnet8", id, 1, buffer, &length)) << id;
      EXPECT_FALSE(VNL_SetDHCPParam("tvnet8", id, "1", 1)) << id;
   }
   EXPECT_FALSE(VNL_GetNATParam("tvnet8", VNL_NAT_UDP_TIMEOUT, 0, buffer, &length));
   EXPECT_FALSE(VNL_GetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, 2, buffer, &length));
   EXPECT_EQ(28u, TakeLog().size());
   EXPECT_STREQ("before", buffer);
   EXPECT_EQ(16u, length);
}

TEST_F(ParametersTest, ASmallOrMissingBufferStaysAsItWas)
{
   char buffer[8] = "before";
   std::uint32_t length = 3;
   EXPECT_FALSE(VNL_GetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, 1, buffer, &length));
   EXPECT_EQ(3u, length);
   EXPECT_STREQ("before", buffer);
   EXPECT_FALSE(VNL_GetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, 1, nullptr, &length));
   EXPECT_FALSE(VNL_GetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, 1, buffer, nullptr));
   EXPECT_FALSE(VNL_GetDHCPParam(nullptr, VNL_DHCP_MAX_LEASE, 1, buffer, &length));

   length = 4;
   EXPECT_TRUE(VNL_GetDHCPParam("tvnet8", VNL_DHCP_MAX_LEASE, 1, buffer, &length));
   EXPECT_EQ(4u, length);
   EXPECT_STREQ("7200re", buffer);
}

} // namespace
