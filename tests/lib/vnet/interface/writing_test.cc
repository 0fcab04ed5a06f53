// SPDX-License-Identifier: GPL-2.0-or-later
// Every setter takes good values, and refuses bad ones without a change but with a line in the log.
#include "lib/vnet/interface/interfaceTest.hh"

#include <functional>
#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class WritingTest : public test::InterfaceTest {
protected:
   void SetUp() override { Load(test::richText); }

   using Call = std::function<bool(char const*)>;
   void ExpectTaken(Call const& set, std::vector<char const*> const& values)
   {
      for (auto const value : values) {
         EXPECT_TRUE(set(value)) << (value ? value : "null");
         EXPECT_THAT(TakeLog(), IsEmpty()) << (value ? value : "null");
      }
   }
   // start is what the line says before the cause.
   void ExpectRefused(Call const& set, std::string const& start,
                      std::vector<char const*> const& values)
   {
      auto const before = Export();
      for (auto const value : values) {
         EXPECT_FALSE(set(value)) << value;
         auto const log = TakeLog();
         ASSERT_EQ(1u, log.size()) << value;
         EXPECT_THAT(log[0], StartsWith("LogV(2): " + start + ": ")) << value;
         EXPECT_EQ(1, std::count(log[0].begin(), log[0].end(), '\n')) << value;
      }
      EXPECT_EQ(before, Export());
   }
};

TEST_F(WritingTest, TheSubnet)
{
   auto const set = [](char const* value) { return VNL_SetVnetSubnetAddr("tvnet8", value); };
   ExpectTaken(set, {"10.0.0.0", nullptr, nullptr, "192.168.99.0", "0.0.0.0", "223.255.255.0"});
   ExpectRefused(set, "set the subnet of tvnet8",
                 {"", "127.0.0.0", "224.0.0.0", "255.255.255.255", "10.0.0", "10.0.0.0.0",
                  "10..0.0", "10.0.0.256", "010.0.0.0", "10.0.0.0/8", " 10.0.0.0", "10.0.0.0\n",
                  "10.0.0.0;", "{10.0.0.0}", "\"10.0.0.0\"", "ten", "+1.0.0.0", "\xff", "::1"});
}

TEST_F(WritingTest, TheMask)
{
   auto const set = [](char const* value) { return VNL_SetVnetSubnetMask("tvnet8", value); };
   ExpectTaken(set, {"255.0.0.0", nullptr, "255.255.255.248", "128.0.0.0"});
   ExpectRefused(set, "set the mask of tvnet8",
                 {"", "0.0.0.0", "255.0.255.0", "255.255.255.252", "255.255.255.255", "0.0.0.255",
                  "24", "255.255.255", "255.255.255.0\n", "255.255.255.0;", "{}", "\xff"});
}

TEST_F(WritingTest, TheDisplayName)
{
   std::string const longest(127, 'x');
   std::string const tooLong(128, 'x');
   std::string const endless(1 << 20, 'x');
   auto const set = [](char const* value) { return VNL_SetVnetDisplayName("tvnet8", value); };
   ExpectTaken(set, {"a", "", nullptr, longest.c_str(), "Büro; {x} \"y\" $(id)", " both ends "});
   ExpectRefused(set, "set the display name of tvnet8",
                 {tooLong.c_str(), endless.c_str(), "a\nb", "\t", "\x1b", "\x7f", "\xc2\x85",
                  "\xe2\x80\xa8", "\xff", "\xc3", "\xed\xa0\x80"});

   ASSERT_TRUE(set(" both ends "));
   char buffer[128];
   std::uint32_t length = sizeof buffer;
   EXPECT_TRUE(VNL_GetVnetDisplayName("tvnet8", buffer, &length));
   EXPECT_STREQ(" both ends ", buffer);
}

TEST_F(WritingTest, AnEmptyDisplayNameClears)
{
   for (char const* const empty : {static_cast<char const*>(nullptr), ""}) {
      ASSERT_TRUE(VNL_SetVnetDisplayName("tvnet8", "x"));
      ASSERT_TRUE(VNL_SetVnetDisplayName("tvnet8", empty));
      char buffer[128] = "before";
      std::uint32_t length = sizeof buffer;
      EXPECT_TRUE(VNL_GetVnetDisplayName("tvnet8", buffer, &length));
      EXPECT_STREQ("", buffer);
   }
}

TEST_F(WritingTest, TheMtu)
{
   std::uint32_t mtu = 0;
   for (std::uint32_t const good : {68u, 1500u, 9194u}) {
      EXPECT_TRUE(VNL_SetVnetMTU("tvnet8", good));
      EXPECT_TRUE(VNL_GetVnetMTU("tvnet8", &mtu));
      EXPECT_EQ(good, mtu);
   }
   for (std::uint32_t const bad : {0u, 67u, 9195u, 65536u, 0xffffffffu}) {
      EXPECT_FALSE(VNL_SetVnetMTU("tvnet8", bad));
      EXPECT_THAT(TakeLog(),
                  testing::ElementsAre("LogV(2): set the MTU of tvnet8: \"" + std::to_string(bad) +
                                       "\" isn't a number from 68 to 9194\n"));
   }
   EXPECT_TRUE(VNL_GetVnetMTU("tvnet8", &mtu));
   EXPECT_EQ(9194u, mtu);

   EXPECT_TRUE(VNL_RemoveMTU("tvnet8"));
   EXPECT_FALSE(VNL_GetVnetMTU("tvnet8", &mtu));
   EXPECT_TRUE(VNL_RemoveMTU("tvnet8"));
}

TEST_F(WritingTest, TheUses)
{
   using Set = bool (*)(char const*, bool, int);
   for (Set const set :
        {Set(VNL_SetVnetUseAdapter), Set(VNL_SetVnetUseDHCP), Set(VNL_SetVnetUseNAT)}) {
      EXPECT_TRUE(set("tvnet8", false, 1));
      EXPECT_TRUE(set("tvnet8", true, 1));
      EXPECT_TRUE(set("tvnet8", false, 0));
      EXPECT_FALSE(set("tvnet8", true, 2));
      EXPECT_FALSE(set("tvnet", true, 1));
      EXPECT_EQ(2u, TakeLog().size());
   }
   EXPECT_THAT(Export(), HasSubstr("adapter=false\ndhcp=false\nnat=false\n"));
}

TEST_F(WritingTest, NoCallStandsForANetworkThatDoesNotExist)
{
   auto const before = Export();
   for (char const* const name :
        {static_cast<char const*>(nullptr), "", "tvnet256", "tvnet08", "tvnet8/../x", "tvnet8\n"}) {
      std::function<bool()> const calls[] = {
         [=] { return VNL_AssignSubnetAddressToVnet(name, 1); },
         [=] { return VNL_SetVnetSubnetAddr(name, "10.0.0.0"); },
         [=] { return VNL_SetVnetSubnetMask(name, "255.0.0.0"); },
         [=] { return VNL_SetVnetSubnetMask(name, nullptr); },
         [=] { return VNL_SetVnetDisplayName(name, "x"); },
         [=] { return VNL_SetVnetMTU(name, 1500); },
         [=] { return VNL_RemoveMTU(name); },
         [=] { return VNL_SetVnetUseAdapter(name, true, 1); },
         [=] { return VNL_SetVnetUseDHCP(name, true, 1); },
         [=] { return VNL_SetVnetUseNAT(name, true, 1); },
         [=] { return VNL_DeleteVnetFromDatabase(name); },
         [=] { return VNL_EnableNetworkAdapter(name); },
         [=] { return VNL_DisableNetworkAdapter(name); },
         [=] { return VNL_UpdateDHCPFromConfig(name); },
         [=] { return VNL_UpdateNATFromConfig(name); },
         [=] { return VNL_StartService(name, VNL_SERVICE_DHCP); },
         [=] { return VNL_StopService(name, VNL_SERVICE_DHCP); },
         [=] { return VNL_SetNATParam(name, VNL_NAT_UDP_TIMEOUT, "60", 2); },
         [=] { return VNL_SetDHCPParam(name, VNL_DHCP_MAX_LEASE, "60", 2); },
         [=] { return VNL_SetNATPortForward(name, true, 80, "10.0.0.3", 80, nullptr, 0); },
      };
      for (auto const& call : calls) {
         EXPECT_FALSE(call());
         EXPECT_EQ(1u, TakeLog().size());
      }
   }
   EXPECT_EQ(before, Export());
   EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(WritingTest, ADeletedNetworkLeavesTheHostAtOnce)
{
   EXPECT_TRUE(VNL_DeleteVnetFromDatabase("tvnet8"));
   EXPECT_THAT(host.calls, testing::ElementsAre("remove 8"));
   EXPECT_EQ(0u, host.settings.networks.count(8));
   EXPECT_EQ(std::string::npos, Export().find("tvnet8"));

   EXPECT_TRUE(VNL_DeleteVnetFromDatabase("tvnet77"));
   EXPECT_THAT(host.calls, testing::ElementsAre("remove 8", "remove 77"));
}

TEST_F(WritingTest, ANetworkThatBecomesBridgedKeepsItsParameters)
{
   EXPECT_TRUE(VNL_SetVnetSubnetAddr("tvnet8", nullptr));
   EXPECT_TRUE(VNL_SetVnetSubnetMask("tvnet8", nullptr));
   EXPECT_TRUE(VNL_SetVnetUseAdapter("tvnet8", false, 1));
   EXPECT_TRUE(VNL_SetVnetUseDHCP("tvnet8", false, 1));
   EXPECT_TRUE(VNL_SetVnetUseNAT("tvnet8", false, 1));

   VNL_FeatureStruct features = {};
   features.version = 1;
   features.ref = {1, 1, 8};
   EXPECT_TRUE(VNL_GetVnetFeatures(&features));
   EXPECT_EQ(0, features.hosted);
   EXPECT_THAT(Export(), HasSubstr("nat-udp-timeout=60\n"));
   EXPECT_THAT(Export(), HasSubstr("[tvnet8 forward tcp 8080]\n"));
}

} // namespace
