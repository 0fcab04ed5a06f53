// SPDX-License-Identifier: GPL-2.0-or-later
// Adapters, carriers and routes that come and go under bridged networks.
#include "lib/vnet/watch/watchTest.hh"
#include "support/netlab/packetPort.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/udp.hh"

#include <algorithm>
#include <gmock/gmock.h>
#include <iostream>

namespace vnet::watch {

namespace {

using netlab::Ping;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint16_t rarpType = 0x8035;

class WatcherBridgingTest : public WatchTest {
protected:
   void Start(std::vector<std::string> const& adapters = {"eth0", "eth1", "eth2"})
   {
      WriteDatabase(GetAutomatic(adapters));
      RunWell({"start"});
      Plug(guest, "tap0", "tvnet0");
      guest.AddAddress("eth0", "10.3.0.50/24");
      ASSERT_TRUE(FallsAsleep(GetWatcher()));
   }

   bool Joins(std::string const& adapter, test::Milliseconds deadline = test::patience)
   {
      return test::Eventually([&] { return GetJoined() == adapter + ":tvnet0"; }, deadline);
   }

   netlab::Namespace guest;
   netlab::Namespace otherGuest;
};

TEST_F(WatcherBridgingTest, TheDefaultRouteChoosesAtFirst)
{
   Start();
   EXPECT_EQ("eth0:tvnet0", GetJoined());
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
}

TEST_F(WatcherBridgingTest, ALostCarrierMovesItAndTheCarriersReturnMovesItBack)
{
   Start({"eth0", "eth1"});
   netlab::UdpEcho const echo(station, 7);
   // What else the machine does costs some of them time.
   auto shortest = test::patience;
   for (int round = 0; round < 3 && shortest >= aSecond; ++round) {
      netlab::UdpFlow flow(guest, {"10.3.0.9", 7}, 2);
      ASSERT_TRUE(flow.WaitForMore(50));
      lan.GetSwitch().Command("ip link set " + wire0 + " down");
      EXPECT_TRUE(Joins("eth1"));
      EXPECT_TRUE(flow.WaitForMore(100));
      lan.GetSwitch().Command("ip link set " + wire0 + " up");
      EXPECT_TRUE(Joins("eth0"));
      EXPECT_TRUE(flow.WaitForMore(100));
      auto const report = flow.Finish();
      std::cout << report.GetLost() << " of " << report.sent << " datagrams lost, longest gap "
                << report.longestGap.count() << " ms\n";
      shortest = std::min(shortest, report.longestGap);
      EXPECT_EQ(0u, report.duplicates);
   }
   EXPECT_LT(shortest, aSecond);
}

// The switch believes the guest behind the port of the old adapter, until it is told.
TEST_F(WatcherBridgingTest, ASilentGuestIsFoundBehindTheNewAdapter)
{
   Start({"eth0", "eth1"});
   netlab::PacketPort const far(station, "eth0"), near(guest, "eth0");
   near.SendText(far.GetMac(), "here I am");
   ASSERT_TRUE(far.WaitForText("here I am"));
   int moves = 0;
   for (auto const* adapter : {"eth1", "eth0", "eth1"}) {
      GetHost().Command("ip route replace default via 10.3.0.9 dev " + std::string(adapter) +
                        " onlink");
      ASSERT_TRUE(Joins(adapter));
      // It says so within this time, and thrice.
      auto const text = "are you there, " + std::to_string(++moves);
      EXPECT_TRUE(test::Eventually([&] {
         far.SendText(near.GetMac(), text);
         return near.CountText(text) > 0;
      }));
      for (int i = 0; i < 100; ++i) {
         far.SendText(near.GetMac(), text + "!");
      }
      EXPECT_TRUE(near.WaitFor(
         [&](auto const& frame) { return frame.GetText().starts_with(text + "!"); }, 100));
   }
}

TEST_F(WatcherBridgingTest, TheLanIsToldOfEachGuestAtOnceAndAgain)
{
   Start({"eth0", "eth1"});
   Plug(otherGuest, "tap1", "tvnet0");
   otherGuest.AddAddress("eth0", "10.3.0.51/24");
   ASSERT_TRUE(Ping(guest, "10.3.0.9") && Ping(otherGuest, "10.3.0.9"));
   ASSERT_TRUE(FallsAsleep(GetWatcher()));
   netlab::PacketPort const far(station, "eth0");
   GetHost().Command("ip route replace default via 10.3.0.9 dev eth1 onlink");
   ASSERT_TRUE(Joins("eth1"));
   for (auto const* place : {&guest, &otherGuest}) {
      auto const mac = place->GetMac("eth0");
      EXPECT_TRUE(far.WaitFor(
         [&](auto const& frame) { return frame.type == rarpType && frame.source == mac; }, 3));
   }
}

TEST_F(WatcherBridgingTest, ACarrierThatComesBackIsAnnouncedToo)
{
   Start({"eth0"});
   ASSERT_TRUE(Ping(guest, "10.3.0.9"));
   lan.GetSwitch().Command("ip link set " + wire0 + " down");
   ASSERT_TRUE(FallsAsleep(GetWatcher()));
   netlab::PacketPort const far(station, "eth0");
   auto const mac = guest.GetMac("eth0");
   lan.GetSwitch().Command("ip link set " + wire0 + " up");
   EXPECT_TRUE(far.WaitFor(
      [&](auto const& frame) { return frame.type == rarpType && frame.source == mac; }));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
}

TEST_F(WatcherBridgingTest, AnotherLanIsAnotherWorld)
{
   Start();
   GetHost().Command("ip addr add 10.3.0.2/24 dev eth2");
   ASSERT_TRUE(Ping(guest, "10.3.0.9"));
   GetHost().Command("ip route replace default via 10.3.0.8 dev eth2 onlink");
   ASSERT_TRUE(Joins("eth2"));
   EXPECT_TRUE(Ping(guest, "10.3.0.8"));
   EXPECT_FALSE(Ping(guest, "10.3.0.9", netlab::silence));
}

TEST_F(WatcherBridgingTest, AMoveCostsTheHostsOwnFlowNothing)
{
   Start({"eth0", "eth1"});
   netlab::UdpEcho const echo(station, 7);
   netlab::UdpFlow flow(GetHost(), {"10.3.0.9", 7}, 1);
   ASSERT_TRUE(flow.WaitForMore(50));
   for (auto const* adapter : {"eth1", "eth0", "eth1", "eth0"}) {
      // The default route alone: the station is on the link.
      GetHost().Command("ip route replace default via 10.3.0.9 dev " + std::string(adapter) +
                        " onlink");
      ASSERT_TRUE(Joins(adapter));
      ASSERT_TRUE(flow.WaitForMore(50));
   }
   auto const report = flow.Finish();
   EXPECT_EQ(0u, report.GetLost());
   EXPECT_EQ(0u, report.duplicates);
}

TEST_F(WatcherBridgingTest, AnAdapterThatIsPluggedInLaterIsJoined)
{
   GetHost().Command("ip link del eth1");
   Start({"eth1"});
   EXPECT_EQ("", GetJoined());
   lan.Plug(GetHost(), "eth1");
   EXPECT_TRUE(Joins("eth1"));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
}

TEST_F(WatcherBridgingTest, AnAdapterThatVanishesGivesWay)
{
   Start({"eth0", "eth1"});
   ASSERT_EQ("eth0:tvnet0", GetJoined());
   GetHost().Command("ip link del eth0");
   EXPECT_TRUE(Joins("eth1"));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   EXPECT_FALSE(HasTable("tavrin-patch-eth0"));
}

TEST_F(WatcherBridgingTest, TheOnlyAdapterMayGoAndComeBack)
{
   Start({"eth1"});
   ASSERT_EQ("eth1:tvnet0", GetJoined());
   GetHost().Command("ip link del eth1");
   EXPECT_TRUE(test::Eventually([this] { return GetJoined().empty(); }));
   EXPECT_TRUE(HasLink("tvnet0"));
   lan.Plug(GetHost(), "eth1");
   EXPECT_TRUE(Joins("eth1"));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
}

TEST_F(WatcherBridgingTest, AFixedNetworkStaysWithItsAdapterWhateverItsCarrier)
{
   WriteDatabase("[adapter eth0]\nnetwork=tvnet3\n");
   RunWell({"start"});
   ASSERT_EQ("eth0:tvnet3", GetJoined());
   lan.GetSwitch().Command("ip link set " + wire0 + " down");
   ASSERT_TRUE(FallsAsleep(GetWatcher()));
   EXPECT_EQ("eth0:tvnet3", GetJoined());
}

TEST_F(WatcherBridgingTest, ANewMacAndMtuOfTheAdapterAreFollowed)
{
   Start({"eth1"});
   GetHost().Command("ip link set eth1 address 02:00:00:00:00:77");
   GetHost().Command("ip link set eth1 mtu 1400");
   GetHost().AddAddress("eth1", "10.3.0.77/24");
   EXPECT_TRUE(test::Eventually(
      [this] { return GetHost().Command("cat /sys/class/net/tvnet0/mtu") == "1400\n"; }));
   EXPECT_TRUE(test::Eventually([this] {
      return GetHost().Command("nft list ruleset").find("02:00:00:00:00:77") != std::string::npos;
   }));
}

TEST_F(WatcherBridgingTest, AWatcherThatComesLateFindsWhatItMissed)
{
   Start({"eth0", "eth1"});
   KillWatcher();
   lan.GetSwitch().Command("ip link set " + wire0 + " down");
   GetHost().Command("nft delete table inet tavrin-tvnet0");
   test::TestProcess const watcher({GetProgram(), "watch"});
   EXPECT_TRUE(Joins("eth1"));
   EXPECT_TRUE(test::Eventually([this] { return HasTable("tavrin-tvnet0"); }));
}

// Tracking costs a bridged network where the host filters bridges.
TEST_F(WatcherBridgingTest, ConnectionsAreTrackedForTheOtherNetworksAlone)
{
   constexpr auto keeper = "table inet tavrin-keeper";
   auto const count = [this] {
      return GetHost().Command("cat /proc/sys/net/netfilter/nf_conntrack_count");
   };
   auto const keeps = [this, keeper] {
      return GetHost().Command("nft list ruleset").find(keeper) != std::string::npos;
   };
   Start();
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.9"));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   EXPECT_EQ("0\n", count());
   EXPECT_FALSE(keeps());

   WriteDatabase(GetAutomatic({"eth0", "eth1", "eth2"}) + GetHosted());
   RunWell({"start"});
   ASSERT_TRUE(test::Eventually(keeps));
   auto const table = GetHost().Command(std::string("nft list ") + keeper);
   EXPECT_THAT(table, AllOf(HasSubstr("tvnet1"), HasSubstr("tvnet8"), Not(HasSubstr("tvnet0"))));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.9"));
   EXPECT_NE("0\n", count());

   RunWell({"stop", "tvnet1"});
   RunWell({"stop", "tvnet8"});
   EXPECT_TRUE(test::Eventually([&] { return !keeps(); }));
}

} // namespace

} // namespace vnet::watch
