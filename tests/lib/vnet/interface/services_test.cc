// SPDX-License-Identifier: GPL-2.0-or-later
// What reaches the host.
#include "lib/vnet/interface/interfaceTest.hh"

#include "vnet/database/database.hh"
#include "vnet/values/error.hh"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ServicesTest : public test::InterfaceTest {
protected:
   void SetUp() override { Load(minimal); }
};

TEST_F(ServicesTest, EveryCallReachesTheHostInOrder)
{
   EXPECT_TRUE(VNL_StopService("tvnet8", VNL_SERVICE_BRIDGE));
   EXPECT_TRUE(VNL_StopService("tvnet8", VNL_SERVICE_DHCP));
   EXPECT_TRUE(VNL_StopService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_TRUE(VNL_DisableNetworkAdapter("tvnet8"));
   EXPECT_TRUE(VNL_EnableNetworkAdapter("tvnet8"));
   EXPECT_TRUE(VNL_UpdateDHCPFromConfig("tvnet8"));
   EXPECT_TRUE(VNL_StartService("tvnet8", VNL_SERVICE_DHCP));
   EXPECT_TRUE(VNL_UpdateNATFromConfig("tvnet8"));
   EXPECT_TRUE(VNL_StartService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_TRUE(VNL_StartService("tvnet255", VNL_SERVICE_BRIDGE));
   VNL_Unload();

   EXPECT_THAT(host.calls, ElementsAre("stop 8 bridge", "stop 8 dhcp", "stop 8 nat", "disable 8",
                                       "enable 8", "update 8 dhcp", "start 8 dhcp", "update 8 nat",
                                       "start 8 nat", "start 255 bridge", "finish unchanged"));
}

TEST_F(ServicesTest, TheHostSeesTheDatabaseAsItStandsInMemory)
{
   ASSERT_TRUE(VNL_SetVnetMTU("tvnet8", 1400));
   ASSERT_TRUE(VNL_StartService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_EQ(1400u, host.settings.networks.at(8).mtu);
}

TEST_F(ServicesTest, AServiceThatDoesNotExistIsRefused)
{
   for (std::uint32_t const service : {0u, 0x8800u, 0x8804u, 1u}) {
      EXPECT_FALSE(VNL_StartService("tvnet8", service));
      EXPECT_FALSE(VNL_StopService("tvnet8", service));
   }
   EXPECT_THAT(host.calls, IsEmpty());
   EXPECT_EQ(8u, TakeLog().size());
}

TEST_F(ServicesTest, AFailureOfTheHostIsLoggedOnce)
{
   host.failing = true;
   EXPECT_FALSE(VNL_StartService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_THAT(TakeLog(),
               ElementsAre("LogV(2): start a service of tvnet8: do start 8 nat: The host fails\n"));
   EXPECT_FALSE(VNL_EnableNetworkAdapter("tvnet8"));
   EXPECT_FALSE(VNL_DisableNetworkAdapter("tvnet8"));
   EXPECT_FALSE(VNL_UpdateDHCPFromConfig("tvnet8"));
   EXPECT_FALSE(VNL_UpdateNATFromConfig("tvnet8"));
   EXPECT_FALSE(VNL_StopService("tvnet8", VNL_SERVICE_NAT));
   EXPECT_FALSE(VNL_DeleteVnetFromDatabase("tvnet8"));
   EXPECT_EQ(6u, TakeLog().size());
}

TEST_F(ServicesTest, OneProcessAtATimeActsOnTheHost)
{
   ASSERT_TRUE(VNL_StopService("tvnet8", VNL_SERVICE_NAT));
   auto const lock = [this] { vnet::Database(place.Get(std::chrono::milliseconds(0))).Lock(); };
   EXPECT_THROW(lock(), vnet::Error);

   VNL_Unload();
   EXPECT_NO_THROW(lock());
}

} // namespace
