// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/engineTest.hh"
#include "vnet/values/freeSubnet.hh"

#include <algorithm>
#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::Contains;
using testing::Not;

class OccupiedTest : public EngineTest {
protected:
   static Subnet Parse(std::string const& address, unsigned int prefixLength)
   {
      return {Address::Parse(address).value(), prefixLength};
   }

   bool IsOccupied(std::string const& address, unsigned int prefixLength, unsigned int own = 8)
   {
      auto const subnet = Parse(address, prefixLength);
      return std::ranges::any_of(engine->ListOccupied(own),
                                 [&](Subnet const& other) { return other.Overlaps(subnet); });
   }
};

} // namespace

TEST_F(OccupiedTest, AddressesAndTheirSubnetsAre)
{
   EXPECT_THAT(engine->ListOccupied(8), Contains(Parse("198.51.100.0", 24)));
   EXPECT_FALSE(IsOccupied("192.168.8.0", 24));
   GetHost().Command("ip addr add 192.168.8.9/32 dev eth1");
   EXPECT_TRUE(IsOccupied("192.168.8.0", 24));
   GetHost().Command("ip addr del 192.168.8.9/32 dev eth1");
   EXPECT_FALSE(IsOccupied("192.168.8.0", 24));
}

TEST_F(OccupiedTest, RoutesOfEveryTableAreInEitherDirection)
{
   GetHost().Command("ip route add 192.168.0.0/16 via 198.51.100.2 table 4242");
   GetHost().Command("ip route add 10.5.5.128/25 via 198.51.100.2 table 51820");
   GetHost().Command("ip route add blackhole 172.16.0.0/12");
   EXPECT_TRUE(IsOccupied("192.168.8.0", 24));
   EXPECT_TRUE(IsOccupied("10.5.5.0", 24));
   EXPECT_FALSE(IsOccupied("10.5.4.0", 24));
   EXPECT_TRUE(IsOccupied("172.20.1.0", 24));
   GetHost().Command("ip route flush table 4242");
   GetHost().Command("ip route flush table 51820");
   GetHost().Command("ip route del blackhole 172.16.0.0/12");
}

TEST_F(OccupiedTest, DefaultRoutesAreNotNorAreTheirHalves)
{
   GetHost().Command("ip route add 0.0.0.0/1 via 198.51.100.2");
   GetHost().Command("ip route add 128.0.0.0/1 via 198.51.100.2");
   GetHost().Command("ip route add default via 198.51.100.2 table 77");
   EXPECT_FALSE(IsOccupied("192.168.8.0", 24));
   EXPECT_FALSE(IsOccupied("10.0.0.0", 24));
   GetHost().Command("ip route del 0.0.0.0/1 via 198.51.100.2");
   GetHost().Command("ip route del 128.0.0.0/1 via 198.51.100.2");
   GetHost().Command("ip route flush table 77");
}

TEST_F(OccupiedTest, ANetworksOwnSubnetIsItsOwnAndAnothersIsNot)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].useAdapter = false;
   engine->StartAll(settings);
   EXPECT_FALSE(IsOccupied("192.168.8.0", 24, 8));
   EXPECT_TRUE(IsOccupied("192.168.8.0", 24, 1));
}

TEST_F(OccupiedTest, ASubnetThatIsFoundCollidesWithNothing)
{
   GetHost().Command("ip route add 192.168.0.0/17 via 198.51.100.2 table 4242");
   GetHost().Command("ip addr add 192.168.200.1/22 dev eth1");
   for (int round = 0; round < 40; ++round) {
      auto const occupied = engine->ListOccupied(8);
      auto const found = FindFreeSubnet(occupied, {});
      ASSERT_TRUE(found);
      EXPECT_FALSE(IsOccupied(found->address.ToString(), found->prefixLength));
      GetHost().Command("ip route add " + found->ToString() + " via 198.51.100.2 table 4243");
   }
   GetHost().Command("ip route flush table 4242");
   GetHost().Command("ip route flush table 4243");
   GetHost().Command("ip addr del 192.168.200.1/22 dev eth1");
}

namespace {

class EnginePrivilegeTest : public EngineTest {};

} // namespace

TEST_F(EnginePrivilegeTest, RootOfTheNamespaceHasIt)
{
   EXPECT_TRUE(engine->HasPrivilege());
}

TEST_F(EnginePrivilegeTest, WithoutAWritableDatabaseThereIsNone)
{
   Place place;
   place.databaseFolder = "/nowhere/tavrin";
   EXPECT_FALSE(Engine(place).HasPrivilege());
}

TEST_F(EnginePrivilegeTest, HostAdaptersAreThoseThatTheSettingsName)
{
   EXPECT_THAT(engine->ListAdapters(), Not(Contains("eth0")));
   test::WriteText("/etc/tavrin/config", "host.adapters = \"eth1 eth0 tvnet8 lo\"\n");
   settings.networks[8] = MakeNat(8);
   settings.adapters["eth1"] = 0;
   engine->StartAll(settings);
   EXPECT_THAT(engine->ListAdapters(), testing::UnorderedElementsAre("eth0", "eth1"));
}

} // namespace vnet::engine
