// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/engineTest.hh"

#include "support/testProcess.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class StartTest : public EngineTest {};

} // namespace

TEST_F(StartTest, ANatNetworkGetsAllThatItHas)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);

   EXPECT_THAT(GetHost().Command("ip -d link show tvnet8"),
               AllOf(HasSubstr("alias tavrin-tvnet8"), HasSubstr("02:74:76:6e:00:08"),
                     HasSubstr(",UP"), HasSubstr("mtu 1500")));
   EXPECT_THAT(ListAddresses("tvnet8"),
               ElementsAre("192.168.8.1/24", "192.168.8.2/32", "192.168.8.254/32"));
   EXPECT_THAT(ListTable(8), HasSubstr("masquerade"));
   EXPECT_EQ("1", ReadSysctl("ipv4/conf/tvnet8/forwarding"));
   EXPECT_EQ("1", ReadSysctl("ipv4/conf/eth0/forwarding"));
   EXPECT_THAT(ListDnsmasqs(8), SizeIs(1));
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   EXPECT_EQ(1, watchersEnsured);
   EXPECT_EQ(0, watchersStopped);
}

TEST_F(StartTest, WithoutAdapterTheSubnetIsReachedByTheGatewaysRoute)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].useAdapter = false;
   engine->StartAll(settings);

   EXPECT_THAT(ListAddresses("tvnet8"), ElementsAre("192.168.8.2/32", "192.168.8.254/32"));
   EXPECT_THAT(GetHost().Command("ip route show dev tvnet8"),
               AllOf(HasSubstr("192.168.8.0/24"), HasSubstr("src 192.168.8.2")));
   EXPECT_EQ("1", ReadSysctl("ipv4/conf/tvnet8/arp_ignore"));
}

TEST_F(StartTest, TurningTheAdapterOnAndOffMakesNothingElseAnew)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   auto const withAdapter = test::TakeState(GetHost());
   auto const bridge = GetNumber("tvnet8");

   settings.networks[8].useAdapter = false;
   engine->StartAll(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   EXPECT_THAT(GetHost().Command("ip route show dev tvnet8"), HasSubstr("src 192.168.8.2"));

   settings.networks[8].useAdapter = true;
   engine->StartAll(settings);
   EXPECT_TRUE(test::AreEqual(withAdapter, test::TakeState(GetHost())));
   EXPECT_EQ(bridge, GetNumber("tvnet8"));
}

TEST_F(StartTest, AHostOnlyNetworkForwardsNothing)
{
   settings.networks[1] = MakeHostOnly(1);
   engine->StartAll(settings);

   EXPECT_THAT(ListAddresses("tvnet1"), ElementsAre("192.168.1.1/24", "192.168.1.254/32"));
   EXPECT_EQ("0", ReadSysctl("ipv4/conf/tvnet1/forwarding"));
   EXPECT_EQ("0", ReadSysctl("ipv4/conf/eth0/forwarding"));
   EXPECT_THAT(ListTable(1), Not(HasSubstr("masquerade")));
   EXPECT_THAT(ListDnsmasqs(1), SizeIs(1));
}

TEST_F(StartTest, AHostOnlyNetworkWithNothingOnIsABridgeWithRules)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[1].useAdapter = false;
   settings.networks[1].useDhcp = false;
   engine->StartAll(settings);

   EXPECT_TRUE(HasLink("tvnet1"));
   EXPECT_TRUE(HasTable(1));
   EXPECT_THAT(ListAddresses("tvnet1"), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(1), IsEmpty());
   EXPECT_THAT(ListDifferences(1), IsEmpty());
}

TEST_F(StartTest, TheMtuIsTheBridgesAndTheGuests)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].mtu = 1400;
   engine->StartAll(settings);
   EXPECT_THAT(GetHost().Command("ip link show tvnet8"), HasSubstr("mtu 1400"));
   EXPECT_THAT(test::ReadFile("/run/tavrin/tvnet8/dnsmasq.options"), HasSubstr("mtu,1400"));

   settings.networks[8].mtu = {};
   engine->StartAll(settings);
   EXPECT_THAT(GetHost().Command("ip link show tvnet8"), HasSubstr("mtu 1500"));
}

TEST_F(StartTest, WhatIsEqualStaysUntouched)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80)};
   engine->StartAll(settings);
   auto const identity = test::TakeIdentity(GetHost());

   engine->StartAll(settings);
   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
   MakeEngine();
   engine->StartAll(settings);
   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
}

TEST_F(StartTest, AnotherNetworksChangeTouchesNothing)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   auto const pids = ListDnsmasqs(8);
   auto const table = GetHost().Command("nft -a list table inet tavrin-tvnet8");

   settings.networks[1] = MakeNat(1);
   engine->StartAll(settings);
   settings.networks.erase(1);
   engine->StartAll(settings);

   EXPECT_EQ(pids, ListDnsmasqs(8));
   EXPECT_EQ(table, GetHost().Command("nft -a list table inet tavrin-tvnet8"));
   EXPECT_FALSE(HasLink("tvnet1"));
}

TEST_F(StartTest, SomeoneElsesDeviceOfThatNameStaysAsItIs)
{
   GetHost().Command("ip link add tvnet8 type bridge");
   auto const link = GetHost().Command("ip -d link show tvnet8");
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);

   EXPECT_THAT(GetFailure([&] { engine->StartAll(settings); }),
               HasSubstr("tvnet8: Someone else's device has this name"));
   EXPECT_EQ(link, GetHost().Command("ip -d link show tvnet8"));
   EXPECT_FALSE(HasTable(8));
   EXPECT_EQ(State::Foreign, engine->Look(settings, 8).state);
   EXPECT_THAT(ListDifferences(1), IsEmpty());

   engine->RemoveNetwork(settings, 8);
   EXPECT_EQ(link, GetHost().Command("ip -d link show tvnet8"));
   GetHost().Command("ip link del tvnet8");
}

TEST_F(StartTest, ABridgeThatAProcessLeftHalfMadeIsCompleted)
{
   GetHost().Command("ip link add tvnet8 address 02:74:76:6e:00:08 type bridge");
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

TEST_F(StartTest, ASubnetOfTheHostsIsNotTaken)
{
   settings.networks[8] = MakeNat(8);
   GetHost().Command("ip addr add 192.168.8.77/24 dev eth1");
   GetHost().Command("ip link set eth1 up");

   EXPECT_THAT(GetFailure([&] { engine->StartAll(settings); }),
               HasSubstr("eth1 of this host has it"));
   EXPECT_THAT(GetHost().Command("ip route get 192.168.8.5"), HasSubstr("dev eth1"));
   GetHost().Command("ip addr del 192.168.8.77/24 dev eth1");

   GetHost().Command("ip route add 192.168.8.0/24 via 198.51.100.2");
   EXPECT_THAT(GetFailure([&] { engine->StartAll(settings); }),
               HasSubstr("eth0 of this host has it"));
   EXPECT_THAT(GetHost().Command("ip route get 192.168.8.5"), HasSubstr("dev eth0"));
   GetHost().Command("ip route del 192.168.8.0/24 via 198.51.100.2");

   GetHost().Command("ip route add 192.168.0.0/16 via 198.51.100.2");
   engine->StartAll(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   GetHost().Command("ip route del 192.168.0.0/16 via 198.51.100.2");
}

TEST_F(StartTest, ANetworkThatCantRunKeepsNoOtherFromRunning)
{
   settings.networks[7] = MakeNat(7);
   settings.networks[8] = MakeNat(8);
   settings.networks[9] = MakeNat(8);
   EXPECT_THAT(GetFailure([&] { engine->StartAll(settings); }), HasSubstr("tvnet8 has it"));
   EXPECT_THAT(ListDifferences(7), IsEmpty());
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

TEST_F(StartTest, Ipv6ComesWithItsSwitchesAndAddresses)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.enableIpv6 = true;
   settings.networks[8].nat.ipv6Prefix = Prefix6::Parse("fd00:8::/64");
   engine->StartAll(settings);

   EXPECT_THAT(
      GetHost().Command("ip -6 addr show dev tvnet8 scope global"),
      AllOf(HasSubstr("fd00:8::1/64"), HasSubstr("fd00:8::2/64"), Not(HasSubstr("tentative"))));
   EXPECT_EQ("1", ReadSysctl("ipv6/conf/tvnet8/forwarding"));
   EXPECT_THAT(ListDifferences(8), IsEmpty());

   settings.networks[8].nat.enableIpv6 = false;
   engine->StartAll(settings);
   EXPECT_EQ("1", ReadSysctl("ipv6/conf/tvnet8/disable_ipv6"));
   EXPECT_EQ(before.at("sysctl ipv6/conf/all/forwarding"),
             ReadSysctl("ipv6/conf/all/forwarding") + "\n");
}

} // namespace vnet::engine
