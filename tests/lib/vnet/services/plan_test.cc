// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/plan.hh"

#include "lib/vnet/services/databases.hh"

#include <gmock/gmock.h>
#include <set>

namespace vnet::services {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

Address Parse(std::string const& text)
{
   return *Address::Parse(text);
}

class PlanTest : public testing::Test {
protected:
   WantedNetwork Make() const { return Plan(database.settings, database.index, database.facts); }
   WantedNetwork Make(unsigned int index) const
   {
      return Plan(database.settings, index, database.facts);
   }

   void AddForward(unsigned int index, bool tcp, std::uint16_t hostPort, std::string const& address,
                   std::uint16_t vmPort)
   {
      database.settings.networks[index].nat.forwards.push_back(
         {tcp, hostPort, Parse(address), vmPort, ""});
   }

   Database database = MakeNat("nat");
};

TEST_F(PlanTest, WhatTheDatabaseDoesNotKnowIsAbsent)
{
   EXPECT_EQ(Kind::Absent, Make(3).kind);
   EXPECT_EQ("", Make(3).ruleset);
   EXPECT_TRUE(Make(3).sysctls.empty());
   EXPECT_EQ("tvnet3", Make(3).bridge.name);
}

TEST_F(PlanTest, TheKindFollowsFromTheServices)
{
   EXPECT_EQ(Kind::Nat, Make().kind);
   auto& network = database.Get();
   network.useNat = false;
   EXPECT_EQ(Kind::HostOnly, Make().kind);
   network = {};
   EXPECT_EQ(Kind::Bridged, Make().kind);
   network.useAdapter = true;
   EXPECT_EQ(Kind::HostOnly, Make().kind);
}

TEST_F(PlanTest, ANetworkIsBridgedIfAnAdapterOrTheAutomaticOneSaysSo)
{
   database.settings.adapters["eth5"] = 5;
   database.settings.automatic = 6;
   EXPECT_EQ(Kind::Bridged, Make(5).kind);
   EXPECT_EQ(std::vector<std::string>{"eth5"}, Make(5).bridging.adapters);
   EXPECT_FALSE(Make(5).bridging.automatic);
   EXPECT_EQ(Kind::Bridged, Make(6).kind);
   EXPECT_TRUE(Make(6).bridging.automatic);
}

// Else our DHCP would answer on somebody's LAN.
TEST_F(PlanTest, AHostedNetworkIsNeverBridged)
{
   database.settings.adapters["eth0"] = 8;
   database.settings.automatic = 8;
   EXPECT_EQ(WantedBridging{}, Make().bridging);
}

TEST_F(PlanTest, EachBridgeHasItsOwnFixedAddress)
{
   std::set<std::array<std::uint8_t, 6>> macs;
   for (unsigned int index = 0; index < maxNetworks; ++index) {
      auto const mac = Make(index).bridge.mac;
      EXPECT_EQ(2, mac[0] & 3) << "locally administered and of one station";
      EXPECT_TRUE(macs.insert(mac).second) << index;
   }
}

TEST_F(PlanTest, ADifferenceInTheDatabaseIsADifferenceInThePlan)
{
   auto const before = Make();
   database.Get().mtu = 1400;
   auto const after = Make();
   EXPECT_NE(before, after);
   EXPECT_EQ(before.ruleset, after.ruleset);
   EXPECT_EQ(before.dnsmasq->configuration, after.dnsmasq->configuration);
   EXPECT_NE(before.dnsmasq->options, after.dnsmasq->options) << "no restart for the MTU";
}

TEST_F(PlanTest, AnotherNetworkMakesNoDifference)
{
   auto const before = Make();
   auto& other = database.settings.networks[1];
   other = database.Get();
   other.subnetAddress = Parse("192.168.9.0");
   AddForward(1, true, 80, "192.168.9.10", 80);
   EXPECT_EQ(before, Make());
}

// Names and descriptions are users' words.
TEST_F(PlanTest, NoTextOfTheDatabaseGoesIntoAnyText)
{
   AddForward(8, true, 80, "192.168.8.10", 80);
   auto const before = Make();
   std::string const hostile = "x\"; } }\nuser=root\nflush ruleset\n";
   database.Get().displayName = hostile;
   database.Get().nat.forwards[0].description = hostile;
   EXPECT_EQ(before, Make());
}

TEST_F(PlanTest, OnlyManufacturersThatParseAreAccepted)
{
   database.Get().nat.allowAnyOui = false;
   database.facts.acceptedOuis = {"52:54:00",
                                  "AA:bb:0C",
                                  "52:54",
                                  "52:54:00:00",
                                  "52-54-00",
                                  "gg:00:00",
                                  "52:54:00 } accept ; #",
                                  ""};
   auto const wanted = Make();
   EXPECT_THAT(wanted.ruleset, HasSubstr("ether saddr & ff:ff:ff:00:00:00 != { 52:54:00:00:00:00, "
                                         "aa:bb:0c:00:00:00 } drop"));
   EXPECT_EQ(6u, wanted.remarks.size());
   database.facts.acceptedOuis = {};
   EXPECT_THAT(Make().ruleset, HasSubstr("\n      iifname \"tvnet8\" drop\n   }\n"));
}

TEST_F(PlanTest, UdpTimeoutsFitTheKernelsTimers)
{
   for (auto const& [set, made] : {std::pair<std::uint32_t, char const*>{0, "unreplied : 1,"},
                                   {1, "unreplied : 1,"},
                                   {86400, "unreplied : 86400,"},
                                   {0xffffffff, "unreplied : 2000000,"}}) {
      database.Get().nat.udpTimeout = set;
      EXPECT_THAT(Make().ruleset, HasSubstr(made));
   }
}

TEST_F(PlanTest, LeaseTimesFitWhatDnsmasqTakes)
{
   auto& dhcp = database.Get().dhcp;
   for (auto const& [standard, longest, made, madeLongest] :
        {std::tuple(600U, 3600U, ",600\n", ",3600\n"), std::tuple(1U, 1U, ",120\n", ",120\n"),
         std::tuple(7200U, 3600U, ",3600\n", ",3600\n"),
         std::tuple(0xffffffffU, 0xffffffffU, ",2147483647\n", ",2147483647\n")}) {
      dhcp.defaultLease = standard;
      dhcp.maxLease = longest;
      auto const conf = Make().dnsmasq->configuration;
      std::string const range = ",192.168.8.128,192.168.8.253,255.255.255.0";
      EXPECT_THAT(conf, HasSubstr("dhcp-range=tag:!asks" + range + made));
      EXPECT_THAT(conf, HasSubstr("dhcp-range=tag:asks" + range + madeLongest));
   }
}

TEST_F(PlanTest, TheNumberOfLeasesIsBounded)
{
   EXPECT_THAT(Make().dnsmasq->configuration, HasSubstr("dhcp-lease-max=126\n"));
   database.Get().subnetAddress = Parse("10.0.0.0");
   database.Get().subnetMask = Parse("255.0.0.0");
   EXPECT_THAT(Make().dnsmasq->configuration, HasSubstr("dhcp-lease-max=65536\n"));
}

TEST_F(PlanTest, AHostPortIsForwardedOnce)
{
   auto& other = database.settings.networks[1];
   other = database.Get();
   other.subnetAddress = Parse("192.168.9.0");
   AddForward(1, true, 80, "192.168.9.10", 80);
   AddForward(8, true, 80, "192.168.8.10", 80);
   AddForward(8, false, 80, "192.168.8.10", 80);
   EXPECT_EQ(1u, Make(1).forwards.size());
   auto const wanted = Make(8);
   ASSERT_EQ(1u, wanted.forwards.size());
   EXPECT_FALSE(wanted.forwards[0].tcp);
   EXPECT_THAT(wanted.remarks,
               Contains("forward TCP port 80 to tvnet8: another network forwards it"));
   // One that leads nowhere takes nothing.
   other.nat.forwards[0].address = Parse("192.168.8.10");
   EXPECT_EQ(2u, Make(8).forwards.size());
}

TEST_F(PlanTest, AForwardThatCannotBeIsLeftOutAndTold)
{
   AddForward(8, true, 0, "192.168.8.10", 80);
   AddForward(8, true, 80, "192.168.8.10", 0);
   AddForward(8, false, 80, "192.168.9.10", 80);
   AddForward(8, true, 81, "192.168.8.10", 81);
   auto const wanted = Make();
   ASSERT_EQ(1u, wanted.forwards.size());
   EXPECT_EQ(81, wanted.forwards[0].hostPort);
   EXPECT_THAT(wanted.remarks,
               testing::ElementsAre("forward TCP port 0 to tvnet8: 0 is no port",
                                    "forward TCP port 80 to tvnet8: 0 is no port",
                                    "forward UDP port 80 to tvnet8: 192.168.9.10 is no guest's "
                                    "address in 192.168.8.0/24"));
}

TEST_F(PlanTest, TheLoopbackNetworkIsOpenedForForwardsOnly)
{
   WantedSysctl const open{"ipv4", "tvnet8", "route_localnet", "1"};
   WantedSysctl const closed{"ipv4", "tvnet8", "route_localnet", "0"};
   EXPECT_THAT(Make().sysctls, AllOf(Contains(closed), Not(Contains(open))));
   AddForward(8, true, 80, "192.168.8.10", 80);
   EXPECT_THAT(Make().sysctls, AllOf(Contains(open), Not(Contains(closed))));
}

TEST_F(PlanTest, EveryKindSetsTheSameSwitchesOfItsBridge)
{
   auto const list = [](WantedNetwork const& wanted) {
      std::set<std::string> names;
      for (auto const& sysctl : wanted.sysctls) {
         if (sysctl.device == wanted.bridge.name && sysctl.family == "ipv4") {
            names.insert(sysctl.name);
         }
      }
      return names;
   };
   auto const nat = list(Make());
   EXPECT_FALSE(nat.empty());
   database.Get().useNat = false;
   EXPECT_EQ(nat, list(Make()));
   database.Get() = {};
   EXPECT_EQ(nat, list(Make()));
}

TEST_F(PlanTest, OnlyANetworkWithAWayOutChangesTheHost)
{
   EXPECT_THAT(Make().sysctls, Contains(WantedSysctl{"ipv4", "eth0", "forwarding", "1", true}));
   database.Get().useNat = false;
   for (auto const& sysctl : Make().sysctls) {
      EXPECT_FALSE(sysctl.ofHost) << sysctl.name;
      EXPECT_EQ("tvnet8", sysctl.device) << sysctl.name;
   }
}

TEST_F(PlanTest, AdvertisedRoutersAreKeptBeforeAnythingForwards)
{
   auto& network = database.Get();
   network.nat.enableIpv6 = true;
   network.nat.ipv6Prefix = Prefix6::Parse("fd00::/64");
   database.facts.waysOut = {{"eth0", 1}, {"tun0", 0}, {"eth1", 2}};
   for (bool const byDevice : {false, true}) {
      database.facts.forwardsIpv6ByDevice = byDevice;
      std::vector<std::string> kept;
      for (auto const& sysctl : Make().sysctls) {
         if (sysctl.family == "ipv6" && sysctl.name.find("forwarding") != std::string::npos) {
            break;
         }
         if (sysctl.name == "accept_ra" && sysctl.ofHost) {
            kept.push_back(sysctl.device + " " + sysctl.value);
         }
      }
      EXPECT_THAT(kept, testing::ElementsAre("eth0 2", "eth1 2"));
   }
}

TEST_F(PlanTest, ARouterOutsideTheSubnetIsNotServed)
{
   database.Get().dhcp.router = Parse("192.168.9.1");
   auto const wanted = Make();
   EXPECT_THAT(wanted.dnsmasq->options, HasSubstr("option:router,192.168.8.2\n"));
   EXPECT_EQ(1u, wanted.remarks.size());
}

TEST_F(PlanTest, AnIsolatedNetworksOptionsAreEmptyNotMissing)
{
   database.Get().useNat = false;
   auto const wanted = Make();
   EXPECT_EQ("option:router\noption:dns-server\n", wanted.dnsmasq->options);
   EXPECT_THAT(wanted.dnsmasq->configuration, HasSubstr("port=0\n"));
   EXPECT_EQ("", wanted.parkedRuleset);
}

TEST_F(PlanTest, FilesAreWhereTheHostSays)
{
   database.facts.runFolder = "/a";
   database.facts.stateFolder = "/b";
   auto const dnsmasq = *Make().dnsmasq;
   EXPECT_EQ("/a/tvnet8/dnsmasq.conf", dnsmasq.configurationPath);
   EXPECT_THAT(dnsmasq.configuration, AllOf(HasSubstr("pid-file=/a/tvnet8/dnsmasq.pid\n"),
                                            HasSubstr("dhcp-optsfile=/a/tvnet8/dnsmasq.options\n"),
                                            HasSubstr("dhcp-leasefile=/b/tvnet8/dnsmasq.leases\n"),
                                            HasSubstr("servers-file=/a/tvnet8/dnsmasq.servers\n")));
   EXPECT_EQ("/a/tvnet8/dnsmasq.options", dnsmasq.optionsPath);
   EXPECT_EQ("/a/tvnet8/dnsmasq.pid", dnsmasq.pidPath);
   EXPECT_EQ("/b/tvnet8/dnsmasq.leases", dnsmasq.leasePath);
}

TEST_F(PlanTest, TheServersAddressComesBeforeAllOthers)
{
   auto const wanted = Make();
   ASSERT_EQ(3u, wanted.addresses.size());
   EXPECT_EQ((WantedAddress{Parse("192.168.8.254"), 32, true}), wanted.addresses[0]);
   EXPECT_EQ((WantedAddress{Parse("192.168.8.1"), 24}), wanted.addresses[1]);
   EXPECT_EQ((WantedAddress{Parse("192.168.8.2"), 32}), wanted.addresses[2]);
   EXPECT_TRUE(wanted.routes.empty());
}

TEST_F(PlanTest, WithoutAnAdapterTheGatewayIsTheWayIn)
{
   database.Get().useAdapter = false;
   auto const wanted = Make();
   ASSERT_EQ(2u, wanted.addresses.size());
   ASSERT_EQ(1u, wanted.routes.size());
   EXPECT_EQ("192.168.8.0/24", wanted.routes[0].destination.ToString());
   EXPECT_EQ(Parse("192.168.8.2"), wanted.routes[0].source);
   database.Get().useNat = false;
   EXPECT_EQ(Parse("192.168.8.254"), Make().routes.at(0).source);
}

} // namespace

} // namespace vnet::services
