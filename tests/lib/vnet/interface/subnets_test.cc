// SPDX-License-Identifier: GPL-2.0-or-later
// The subnets that the library chooses.
#include "lib/vnet/interface/interfaceTest.hh"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class SubnetsTest : public test::InterfaceTest {
protected:
   static std::string GetSubnet(std::string const& name)
   {
      char address[16] = "";
      char mask[16] = "";
      std::uint32_t length = 16;
      EXPECT_TRUE(VNL_GetVnetSubnetAddr(name.c_str(), address, &length));
      length = 16;
      EXPECT_TRUE(VNL_GetVnetSubnetMask(name.c_str(), mask, &length));
      return std::string(address) + " " + mask;
   }
   static vnet::Subnet Net(char const* address, unsigned int length)
   {
      return {vnet::Address::Parse(address).value(), length};
   }
};

TEST_F(SubnetsTest, AChosenSubnetAvoidsTheHostAndTheOtherNetworks)
{
   Load(minimal + "[tvnet1]\nsubnet=192.168.5.0\nmask=255.255.255.0\n"
                  "[tvnet2]\nsubnet=192.168.7.77\n");
   host.occupied = {Net("192.168.6.128", 25)};

   EXPECT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_EQ("192.168.9.0 255.255.255.0", GetSubnet("tvnet8"));
   EXPECT_THAT(host.calls, ElementsAre("occupied 8"));
}

TEST_F(SubnetsTest, OnceChosenItStays)
{
   Load(minimal + "[tvnet8]\nsubnet=192.168.77.0\nmask=255.255.255.0\n");
   EXPECT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_EQ("192.168.77.0 255.255.255.0", GetSubnet("tvnet8"));

   host.occupied = {Net("192.168.77.5", 32)};
   EXPECT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_EQ("192.168.5.0 255.255.255.0", GetSubnet("tvnet8"));
}

TEST_F(SubnetsTest, AnEmptyMaskKeepsTheChosenOne)
{
   Load(minimal);
   ASSERT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_TRUE(VNL_SetVnetSubnetMask("tvnet8", ""));
   EXPECT_EQ("192.168.5.0 255.255.255.0", GetSubnet("tvnet8"));

   ASSERT_TRUE(VNL_SetVnetSubnetAddr("tvnet8", "10.0.0.0"));
   EXPECT_FALSE(VNL_SetVnetSubnetMask("tvnet8", ""));
}

TEST_F(SubnetsTest, AChosenSubnetGivesWayToOneThatIsSetLater)
{
   Load(minimal);
   ASSERT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet1", 1));
   ASSERT_TRUE(VNL_SetVnetSubnetAddr("tvnet8", "192.168.5.0"));
   ASSERT_TRUE(VNL_SetVnetSubnetMask("tvnet8", "255.255.255.0"));
   VNL_Unload();

   EXPECT_EQ("192.168.6.0", host.settings.networks.at(1).subnetAddress->ToString());
   EXPECT_EQ("192.168.5.0", host.settings.networks.at(8).subnetAddress->ToString());
   EXPECT_THAT(place.Read(), HasSubstr("[tvnet1]\nsubnet=192.168.6.0\n"));
}

TEST_F(SubnetsTest, TheExportHasNoCollisionEither)
{
   Load(minimal);
   ASSERT_TRUE(VNL_AssignSubnetAddressToVnet("tvnet1", 1));
   ASSERT_TRUE(VNL_SetVnetSubnetAddr("tvnet8", "192.168.0.0"));
   ASSERT_TRUE(VNL_SetVnetSubnetMask("tvnet8", "255.255.0.0"));

   EXPECT_THAT(Export(), HasSubstr("[tvnet1]\nsubnet=172.16.0.0\n"));
}

TEST_F(SubnetsTest, WithNothingFreeNothingChanges)
{
   Load(test::richText);
   auto const before = Export();
   host.occupied = {Net("0.0.0.0", 0)};
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_THAT(TakeLog(),
               ElementsAre("LogV(2): assign a subnet to tvnet8: No private subnet is free\n"));

   host.failing = true;
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet8", 0));
   EXPECT_EQ(before, Export());
}

TEST_F(SubnetsTest, WithNothingFreeTheOtherNetworksAreExportedAndSaved)
{
   Load(minimal);
   host.occupied = {Net("0.0.0.0", 0)};
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet9", 1));
   ASSERT_TRUE(VNL_SetVnetSubnetAddr("tvnet1", "10.1.1.0"));
   ASSERT_TRUE(VNL_SetVnetSubnetMask("tvnet1", "255.255.255.0"));
   TakeLog();

   auto const text = minimal + "\n[tvnet1]\nsubnet=10.1.1.0\nmask=255.255.255.0\n";
   EXPECT_EQ(text, Export());
   EXPECT_THAT(TakeLog(),
               ElementsAre("LogV(2): settle the subnet of tvnet8: No private subnet is free\n",
                           "LogV(2): settle the subnet of tvnet9: No private subnet is free\n"));
   VNL_Unload();
   EXPECT_EQ(text, place.Read());
}

TEST_F(SubnetsTest, OneThatCouldNotBeGivenIsGivenAtTheEnd)
{
   Load(minimal);
   host.failing = true;
   EXPECT_FALSE(VNL_AssignSubnetAddressToVnet("tvnet8", 1));
   EXPECT_TRUE(VNL_SetVnetSubnetMask("tvnet8", ""));
   host.failing = false;
   VNL_Unload();

   EXPECT_EQ(minimal + "\n[tvnet8]\nsubnet=192.168.5.0\nmask=255.255.255.0\n", place.Read());
}

TEST_F(SubnetsTest, AllNetworksGetOneOfTheirOwn)
{
   Load(minimal);
   std::set<std::string> subnets;
   for (int index = 0; index < 256; ++index) {
      auto const name = "tvnet" + std::to_string(index);
      ASSERT_TRUE(VNL_AssignSubnetAddressToVnet(name.c_str(), 1));
      subnets.insert(GetSubnet(name));
   }
   EXPECT_EQ(256u, subnets.size());
}

} // namespace
