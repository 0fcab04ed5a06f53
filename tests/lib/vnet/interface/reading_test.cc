// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/interface/interfaceTest.hh"

#include <cstring>
#include <functional>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ReadingTest : public test::InterfaceTest {
protected:
   void SetUp() override { Load(test::richText); }
};

VNL_FeatureStruct GetFeatures(int index)
{
   VNL_FeatureStruct features;
   std::memset(&features, 0xff, sizeof features);
   features.version = features.ref.version = features.ref.kindVersion = 1;
   features.ref.vnet = index;
   EXPECT_TRUE(VNL_GetVnetFeatures(&features)) << index;
   return features;
}

TEST_F(ReadingTest, TheFeaturesTellTheKindOfANetwork)
{
   auto const hostOnly = GetFeatures(1);
   EXPECT_EQ(1, hostOnly.hosted);
   EXPECT_EQ(1, hostOnly.dhcp);
   EXPECT_EQ(0, hostOnly.nat);
   EXPECT_EQ(1, hostOnly.virtualAdapter);

   auto const nat = GetFeatures(8);
   EXPECT_EQ(1, nat.hosted);
   EXPECT_EQ(1, nat.dhcp);
   EXPECT_EQ(1, nat.nat);
   EXPECT_EQ(1, nat.virtualAdapter);
}

TEST_F(ReadingTest, ANetworkThatIsNotHostedHasNoFeatures)
{
   for (int const index : {0, 2, 255}) {
      auto const features = GetFeatures(index);
      EXPECT_EQ(0, features.hosted);
      EXPECT_EQ(0, features.dhcp);
      EXPECT_EQ(0, features.nat);
      EXPECT_EQ(0, features.virtualAdapter);
   }
}

TEST_F(ReadingTest, AnySubnetAdapterOrServiceMakesANetworkHosted)
{
   Load(minimal + "[tvnet1]\nsubnet=10.0.0.0\n[tvnet2]\nadapter=true\n[tvnet3]\ndhcp=true\n"
                  "[tvnet4]\nnat=true\n[tvnet5]\nname=x\nmtu=1000\n"
                  "[tvnet6 forward tcp 80]\naddress=10.0.0.3\nport=80\n");
   for (int const index : {1, 2, 3, 4}) {
      EXPECT_EQ(1, GetFeatures(index).hosted) << index;
   }
   EXPECT_EQ(0, GetFeatures(5).hosted);
   EXPECT_EQ(0, GetFeatures(6).hosted);
}

TEST_F(ReadingTest, TheFeaturesTouchNothingButTheirOutput)
{
   auto const features = GetFeatures(8);
   VNL_FeatureStruct expected;
   std::memset(&expected, 0xff, sizeof expected);
   expected.version = expected.ref.version = expected.ref.kindVersion = 1;
   expected.ref.vnet = 8;
   expected.hosted = expected.dhcp = expected.nat = expected.virtualAdapter = 1;

   EXPECT_EQ(0, std::memcmp(&expected, &features, sizeof features));
}

TEST_F(ReadingTest, AnIndexBeyondTheNetworksHasNoFeatures)
{
   for (int const index : {-1, -2, 256, 1 << 30}) {
      VNL_FeatureStruct features;
      std::memset(&features, 0xff, sizeof features);
      features.version = features.ref.version = features.ref.kindVersion = 1;
      features.ref.vnet = index;
      EXPECT_FALSE(VNL_GetVnetFeatures(&features)) << index;
      EXPECT_EQ(0, features.hosted) << index;
   }
   EXPECT_EQ(4u, TakeLog().size());
}

using TextCall = bool (*)(char const*, char*, std::uint32_t*);

TEST_F(ReadingTest, TextsComeWithTheirNul)
{
   struct {
      TextCall call;
      char const* name;
      std::uint32_t size;
      char const* text;
   } const cases[] = {
      {VNL_GetVnetSubnetAddr, "tvnet1", VNL_ADDRESS_SIZE, "192.168.5.0"},
      {VNL_GetVnetSubnetMask, "tvnet1", VNL_ADDRESS_SIZE, "255.255.255.0"},
      {VNL_GetVnetDisplayName, "tvnet1", VNL_DISPLAY_NAME_SIZE, "Büro"},
      {VNL_GetVnetDisplayName, "tvnet8", VNL_DISPLAY_NAME_SIZE, " NAT "},
      {VNL_GetVnetSubnetAddr, "tvnet0", VNL_ADDRESS_SIZE, ""},
      {VNL_GetVnetSubnetMask, "tvnet255", VNL_ADDRESS_SIZE, ""},
      {VNL_GetVnetDisplayName, "tvnet2", VNL_DISPLAY_NAME_SIZE, ""},
   };
   for (auto const& each : cases) {
      char buffer[VNL_DISPLAY_NAME_SIZE];
      std::memset(buffer, 'x', sizeof buffer);
      std::uint32_t length = each.size;
      EXPECT_TRUE(each.call(each.name, buffer, &length));
      EXPECT_STREQ(each.text, buffer);
      EXPECT_EQ(std::strlen(each.text), length);
   }
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(ReadingTest, TheLongestTextsFitTheirBuffers)
{
   std::string const name(127, 'n');
   Load(minimal + "[tvnet1]\nsubnet=192.168.255.128\nmask=255.255.255.248\nname=" + name + "\n");
   char buffer[128];
   std::uint32_t length = VNL_DISPLAY_NAME_SIZE;
   EXPECT_TRUE(VNL_GetVnetDisplayName("tvnet1", buffer, &length));
   EXPECT_EQ(name, buffer);

   length = VNL_ADDRESS_SIZE;
   EXPECT_TRUE(VNL_GetVnetSubnetAddr("tvnet1", buffer, &length));
   EXPECT_STREQ("192.168.255.128", buffer);
   length = VNL_ADDRESS_SIZE;
   EXPECT_TRUE(VNL_GetVnetSubnetMask("tvnet1", buffer, &length));
   EXPECT_STREQ("255.255.255.248", buffer);
}

TEST_F(ReadingTest, ABufferThatIsTooSmallStaysAsItWas)
{
   char buffer[16] = "before";
   std::uint32_t length = 11; // "192.168.5.0" without its NUL
   EXPECT_FALSE(VNL_GetVnetSubnetAddr("tvnet1", buffer, &length));
   EXPECT_EQ(11u, length);
   EXPECT_STREQ("before", buffer);
   EXPECT_THAT(TakeLog(), ElementsAre("LogV(2): get the subnet of tvnet1: The buffer of 11 bytes "
                                      "is too small\n"));
   length = 12;
   EXPECT_TRUE(VNL_GetVnetSubnetAddr("tvnet1", buffer, &length));
   length = 0;
   EXPECT_FALSE(VNL_GetVnetDisplayName("tvnet2", buffer, &length));
}

TEST_F(ReadingTest, NullPointersAndBadNamesAreRefused)
{
   char buffer[16] = "before";
   std::uint32_t length = 16;
   std::uint32_t mtu = 7;
   EXPECT_FALSE(VNL_GetVnetSubnetAddr(nullptr, buffer, &length));
   EXPECT_FALSE(VNL_GetVnetSubnetAddr("tvnet1", nullptr, &length));
   EXPECT_FALSE(VNL_GetVnetSubnetAddr("tvnet1", buffer, nullptr));
   EXPECT_FALSE(VNL_GetVnetMTU(nullptr, &mtu));
   EXPECT_FALSE(VNL_GetVnetMTU("tvnet8", nullptr));
   EXPECT_FALSE(VNL_GetVnetFeatures(nullptr));
   EXPECT_FALSE(VNL_GetBridgeDefaultNetwork(nullptr));
   EXPECT_EQ(7u, TakeLog().size());

   for (auto const name : {"", "tvnet", "tvnet256", "tvnet01", "tvnet-1", "eth0", "tvnet1\n"}) {
      EXPECT_FALSE(VNL_GetVnetSubnetAddr(name, buffer, &length)) << name;
      EXPECT_FALSE(VNL_GetVnetMTU(name, &mtu)) << name;
   }
   EXPECT_EQ(14u, TakeLog().size());
   EXPECT_STREQ("before", buffer);
   EXPECT_EQ(7u, mtu);
}

TEST_F(ReadingTest, AHostileNameForgesNoLogLine)
{
   std::uint32_t mtu;
   std::string const endless(100000, 'x');
   VNL_GetVnetMTU("tvnet1\nLogV(0): forged", &mtu);
   VNL_GetVnetMTU(endless.c_str(), &mtu);

   auto const log = TakeLog();
   ASSERT_EQ(2u, log.size());
   EXPECT_EQ("LogV(2): get the MTU of \"tvnet1\\x0aLogV(0): forged\": It is not a network's name\n",
             log[0]);
   EXPECT_LT(log[1].size(), 5000u);
}

TEST_F(ReadingTest, AnMtuThatIsNotSetIsNoFailure)
{
   std::uint32_t mtu = 7;
   EXPECT_FALSE(VNL_GetVnetMTU("tvnet1", &mtu));
   EXPECT_FALSE(VNL_GetVnetMTU("tvnet99", &mtu));
   EXPECT_EQ(7u, mtu);
   EXPECT_TRUE(VNL_GetVnetMTU("tvnet8", &mtu));
   EXPECT_EQ(1400u, mtu);
   EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(ReadingTest, TheAutomaticNetworkIsAlwaysWritten)
{
   VnetRef network = {1, 1, 255};
   EXPECT_TRUE(VNL_GetBridgeDefaultNetwork(&network));
   EXPECT_EQ(0, network.vnet);

   Load(minimal);
   network.vnet = 255;
   EXPECT_TRUE(VNL_GetBridgeDefaultNetwork(&network));
   EXPECT_EQ(VNL_NO_VNET, network.vnet);
}

} // namespace
