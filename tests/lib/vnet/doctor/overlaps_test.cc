// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>

namespace vnet::doctor {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OverlapsTest : public testing::Test {
protected:
   OverlapsTest()
   {
      patient.index = 8;
      patient.name = "tvnet8";
      patient.settings.subnetAddress = Address::Parse("192.168.8.0");
      patient.settings.subnetMask = Address::Parse("255.255.255.0");
      host::Link bridge, vpn;
      bridge.index = 1;
      bridge.name = "tvnet8";
      bridge.kind = "bridge";
      bridge.alias = "tavrin-tvnet8";
      vpn.index = 2;
      vpn.name = "tun0";
      around.links = {bridge, vpn};
   }

   static host::Route MakeRoute(char const* destination, unsigned char length, int link = 2)
   {
      host::Route route;
      route.destination = *Address::Parse(destination);
      route.prefixLength = length;
      route.link = link;
      return route;
   }

   std::vector<std::string> GetRemedies()
   {
      std::vector<std::string> remedies;
      for (auto const& finding : FindOverlaps(patient, around)) {
         EXPECT_EQ("overlap", finding.cause);
         remedies.push_back(finding.remedy);
      }
      return remedies;
   }

   std::vector<std::string> GetRemediesOf(host::Route const& route)
   {
      around.routes = {route};
      return GetRemedies();
   }

   Patient patient;
   Surroundings around;
};

TEST_F(OverlapsTest, RoutesThatGoFirstAreNamed)
{
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.8.0", 24)),
               ElementsAre("ip route del 192.168.8.0/24 dev tun0 && tavrin-vnets start tvnet8"));
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.8.128", 25)),
               ElementsAre("ip route del 192.168.8.128/25 dev tun0 && tavrin-vnets start tvnet8"));
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.8.7", 32)),
               ElementsAre("ip route del 192.168.8.7/32 dev tun0 && tavrin-vnets start tvnet8"));
   auto policy = MakeRoute("192.168.0.0", 16);
   policy.table = 77;
   EXPECT_THAT(
      GetRemediesOf(policy),
      ElementsAre("ip route del 192.168.0.0/16 dev tun0 table 77 && tavrin-vnets start tvnet8"));
   auto hole = MakeRoute("192.168.8.0", 24, 0);
   hole.type = RTN_BLACKHOLE;
   EXPECT_THAT(GetRemediesOf(hole),
               ElementsAre("ip route del blackhole 192.168.8.0/24 && tavrin-vnets start tvnet8"));
}

TEST_F(OverlapsTest, RoutesThatDoNotAreLeftOut)
{
   // Wider, elsewhere, everywhere, half of it, and our own.
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.0.0", 16)), IsEmpty());
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.9.0", 24)), IsEmpty());
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.8.0", 24, 1)), IsEmpty());
   auto policy = MakeRoute("0.0.0.0", 0);
   policy.table = 77;
   EXPECT_THAT(GetRemediesOf(policy), IsEmpty());
   policy = MakeRoute("128.0.0.0", 1);
   policy.table = 77;
   EXPECT_THAT(GetRemediesOf(policy), IsEmpty());
   auto local = MakeRoute("192.168.8.1", 32);
   local.table = RT_TABLE_LOCAL;
   EXPECT_THAT(GetRemediesOf(local), IsEmpty());
}

TEST_F(OverlapsTest, AnAddressIsToldOnceWithItsRoute)
{
   host::InterfaceAddress address;
   address.link = 2;
   address.address = *Address::Parse("192.168.8.77");
   address.prefixLength = 24;
   around.addresses = {address};
   auto route = MakeRoute("192.168.8.0", 24);
   route.protocol = RTPROT_KERNEL;
   around.routes = {route};
   EXPECT_THAT(GetRemedies(),
               ElementsAre("ip address del 192.168.8.77/24 dev tun0 && tavrin-vnets start tvnet8"));
   around.addresses[0].link = 1;
   around.routes[0].link = 1;
   EXPECT_THAT(GetRemedies(), IsEmpty());
}

TEST_F(OverlapsTest, ANetworkWithoutSubnetOverlapsNothing)
{
   patient.settings.subnetAddress = {};
   EXPECT_THAT(GetRemediesOf(MakeRoute("192.168.8.0", 24)), IsEmpty());
}

} // namespace

} // namespace vnet::doctor
