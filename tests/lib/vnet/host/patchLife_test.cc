// SPDX-License-Identifier: GPL-2.0-or-later
// Patches that come, go, and are left half done.
#include "lib/vnet/host/patchTest.hh"

#include "support/netlab/udp.hh"
#include "vnet/host/addresses.hh"
#include "vnet/host/forwardingTable.hh"
#include "vnet/host/patchRules.hh"
#include "vnet/values/error.hh"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::host {

namespace {

using netlab::Ping;
using netlab::silence;

class PatchLifeTest : public PatchTest {
protected:
   void ExpectRefusal(std::string const& adapter, std::string const& bridge,
                      std::string const& message)
   {
      try {
         patch->Attach(adapter, bridge);
         ADD_FAILURE() << "attached " << adapter << " to " << bridge;
      } catch (Error const& error) {
         EXPECT_EQ(message, error.what());
      }
      ExpectNothingLeft();
   }

   void ExpectWorks()
   {
      EXPECT_TRUE(Ping(guest, "10.3.0.9"));
      EXPECT_TRUE(Ping(guest, "10.3.0.1"));
   }
};

TEST_F(PatchLifeTest, AttachingAndDetachingCostsTheHostsFlowNothing)
{
   netlab::UdpEcho const echo(station, 7);
   netlab::UdpFlow flow(GetHost(), {"10.3.0.9", 7}, 1);
   ASSERT_TRUE(flow.WaitForMore(20));
   for (int i = 0; i < 10; ++i) {
      Attach();
      ASSERT_TRUE(flow.WaitForMore(20));
      Detach();
      ASSERT_TRUE(flow.WaitForMore(20));
   }
   auto const report = flow.Finish();
   EXPECT_GE(report.sent, 400u);
   EXPECT_EQ(0u, report.GetLost());
   EXPECT_EQ(0u, report.duplicates);
   RecordProperty("longest_gap_ms", static_cast<int>(report.longestGap.count()));
}

TEST_F(PatchLifeTest, AttachingAgainCostsAGuestsFlowsNothing)
{
   Attach();
   netlab::UdpEcho const far(station, 7), near(GetHost(), 7);
   netlab::UdpFlow toStation(guest, {"10.3.0.9", 7}, 1), toHost(guest, {"10.3.0.1", 7}, 1);
   ASSERT_TRUE(toStation.WaitForMore(20));
   for (int i = 0; i < 50; ++i) {
      Attach();
   }
   ASSERT_TRUE(toStation.WaitForMore(20));
   for (auto* flow : {&toStation, &toHost}) {
      auto const report = flow->Finish();
      EXPECT_EQ(0u, report.GetLost());
      EXPECT_EQ(0u, report.duplicates);
   }
}

TEST_F(PatchLifeTest, AttachingAgainKeepsWhatWasLearned)
{
   Attach();
   ASSERT_TRUE(Ping(guest, "10.3.0.9"));
   auto const list = "nft list set netdev " + GetPatchTable("eth0") + " guests";
   auto const mac = guest.GetMac("eth0").ToString();
   ASSERT_NE(std::string::npos, GetHost().Command(list).find(mac));
   auto const before = DescribeHost();
   Attach();
   EXPECT_NE(std::string::npos, GetHost().Command(list).find(mac));
   EXPECT_EQ(before.substr(0, before.find("expires")), [&] {
      auto const after = DescribeHost();
      return after.substr(0, after.find("expires"));
   }());
}

TEST_F(PatchLifeTest, DetachingRestoresTheAdapterExactly)
{
   auto const& host = GetHost();
   host.Command("ip route add 192.0.2.0/24 via 10.3.0.9");
   host.Command("ip -6 route add 2001:db8::/32 via fd03::9");
   host.Command("ip route add 203.0.113.0/24 via 10.3.0.9 table 77");
   host.Command("ip addr add 10.3.1.1/24 dev eth0 noprefixroute");
   host.Command("tc qdisc add dev eth0 root handle 5: pfifo limit 77");
   host.Command("tc qdisc add dev eth0 clsact");
   host.Command("tc filter add dev eth0 ingress prio 7 protocol ip u32 match ip dst 192.0.2.9/32 "
                "flowid 1:1");
   auto const before = DescribeHost();
   Attach();
   ExpectWorks();
   Detach();
   EXPECT_EQ(before, DescribeHost());
   ExpectNothingLeft();
}

// A filter that ends the classification of what it matches doesn't keep it from us, nor do we from
// it.
TEST_F(PatchLifeTest, ForeignFiltersAndOursShareTheAdapter)
{
   auto const& host = GetHost();
   host.Command("ip link add sink0 type veth peer name sink1");
   host.Command("ip link set sink0 up");
   host.Command("ip link set sink1 up");
   host.Command("tc qdisc add dev eth0 clsact");
   for (auto const* hook : {"ingress", "egress"}) {
      host.Command(std::string("tc filter add dev eth0 ") + hook +
                   " prio 1 protocol all u32 match u32 0 0 action mirred egress mirror dev sink0");
   }
   netlab::PacketPort const sink(host, "sink1"), there(station, "eth0"), one(guest, "eth0");
   Attach();
   ExpectWorks();
   there.SendText(netlab::broadcastMac, "in");
   EXPECT_TRUE(one.WaitForText("in"));
   EXPECT_TRUE(sink.WaitForText("in"));
   one.SendText(netlab::broadcastMac, "out");
   EXPECT_TRUE(there.WaitForText("out"));
   EXPECT_TRUE(sink.WaitForText("out"));
   Detach();
   EXPECT_NE(std::string::npos, host.Command("tc filter show dev eth0 ingress").find("mirred"));
   EXPECT_NE(std::string::npos, host.Command("tc qdisc show dev eth0").find("clsact"));
}

TEST_F(PatchLifeTest, PromiscuityIsOursOnlyIfWeSetIt)
{
   Attach();
   EXPECT_TRUE(links->Require("eth0").IsSetPromiscuous());
   EXPECT_EQ(1u, links->Require("eth0").promiscuity);
   Attach();
   Detach();
   EXPECT_FALSE(links->Require("eth0").IsSetPromiscuous());
   EXPECT_EQ(0u, links->Require("eth0").promiscuity);

   GetHost().Command("ip link set eth0 promisc on");
   Attach();
   Attach();
   Detach();
   EXPECT_TRUE(links->Require("eth0").IsSetPromiscuous());
}

TEST_F(PatchLifeTest, ASocketThatListensToAllKeepsDoingSo)
{
   netlab::PacketPort const port(GetHost(), "eth0");
   ASSERT_EQ(1u, links->Require("eth0").promiscuity);
   Attach();
   EXPECT_EQ(2u, links->Require("eth0").promiscuity);
   Detach();
   EXPECT_EQ(1u, links->Require("eth0").promiscuity);
}

TEST_F(PatchLifeTest, ListTellsWhatIsAttached)
{
   EXPECT_TRUE(patch->List().empty());
   Attach();
   EXPECT_EQ((std::vector{Patch{"eth0", "tvnet0"}}), patch->List());
   // Rules alone are a patch too, for them to be removed.
   for (auto const& link : links->List()) {
      if (link.name.starts_with("tvp")) {
         links->Delete(link);
      }
   }
   EXPECT_EQ((std::vector{Patch{"eth0", ""}}), patch->List());
   Detach();
   ExpectNothingLeft();
}

TEST_F(PatchLifeTest, AnAdapterMovesFromBridgeToBridge)
{
   links->CreateBridge({"tvnet3", {{2, 0, 0, 0, 0, 0x13}}, 1500, "test"});
   Attach();
   ExpectWorks();
   patch->Attach("eth0", "tvnet3");
   EXPECT_EQ((std::vector{Patch{"eth0", "tvnet3"}}), patch->List());
   EXPECT_FALSE(Ping(guest, "10.3.0.9", silence));
   GetHost().Command("ip link set tap0 master tvnet3");
   ExpectWorks();
   // A veth device would work without. It is ours to take back, too.
   EXPECT_TRUE(links->Require("eth0").IsSetPromiscuous());
   Detach();
   EXPECT_FALSE(links->Require("eth0").IsSetPromiscuous());
}

TEST_F(PatchLifeTest, ABridgeMovesFromAdapterToAdapter)
{
   lan.Plug(GetHost(), "eth1");
   netlab::UdpEcho const echo(guest, 7);
   Attach("eth0");
   netlab::UdpFlow flow(station, {"10.3.0.50", 7}, 1);
   for (auto const* to : {"eth1", "eth0", "eth1"}) {
      ASSERT_TRUE(flow.WaitForMore(50));
      Detach(to == std::string("eth1") ? "eth0" : "eth1");
      Attach(to);
   }
   ASSERT_TRUE(flow.WaitForMore(50));
   auto const report = flow.Finish();
   RecordProperty("lost", static_cast<int>(report.GetLost()));
   RecordProperty("longest_gap_ms", static_cast<int>(report.longestGap.count()));
   EXPECT_LE(report.longestGap.count(), 1000);
}

TEST_F(PatchLifeTest, TwoAdaptersServeTwoBridges)
{
   lan.Plug(GetHost(), "eth1");
   links->CreateBridge({"tvnet3", {{2, 0, 0, 0, 0, 0x13}}, 1500, "test"});
   Attach();
   patch->Attach("eth1", "tvnet3");
   GetHost().Command("ip link set tap1 master tvnet3");
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   EXPECT_TRUE(Ping(otherGuest, "10.3.0.9"));
   EXPECT_TRUE(Ping(guest, "10.3.0.51"));
   Detach("eth1");
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
}

TEST_F(PatchLifeTest, AnAdapterThatWentLeavesNothingBehind)
{
   Attach();
   GetHost().Command("ip link delete eth0");
   Detach();
   ExpectNothingLeft();
}

TEST_F(PatchLifeTest, AnAdapterThatCameBackIsAttachedAnew)
{
   Attach();
   GetHost().Command("ip link delete eth0");
   wirePort = lan.Plug(GetHost(), "eth0");
   GetHost().AddAddress("eth0", "10.3.0.1/24");
   Attach();
   ExpectWorks();
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50"));
   Detach();
   ExpectNothingLeft();
}

TEST_F(PatchLifeTest, RulesThatSomeoneFlushedComeBack)
{
   Attach();
   ASSERT_TRUE(Ping(guest, "10.3.0.9"));
   auto const rules = GetHost().Command("nft -s list ruleset");
   GetHost().Command("nft flush ruleset");
   EXPECT_FALSE(Ping(guest, "10.3.0.9", silence));
   Attach();
   ExpectWorks();
   GetHost().Command("nft flush table netdev " + GetPatchTable("eth0"));
   Attach();
   ExpectWorks();
   EXPECT_EQ(rules.substr(rules.find("chain")), [&] {
      auto const now = GetHost().Command("nft -s list ruleset");
      return now.substr(now.find("chain"));
   }());
}

TEST_F(PatchLifeTest, EveryHalfIsMadeWholeOrRemoved)
{
   auto const& host = GetHost();
   std::vector<std::vector<std::string>> const damages{
      {"ip link delete tvp" + std::to_string(links->Require("eth0").index)},
      {"nft flush ruleset"},
      {"ip link set eth0 promisc off"},
      {"ip link set tvpN nomaster"},
      {"ip link set tvpN down"},
      {"ip link set tvhN down"},
      {"ip link set tvpN alias x"},
      {"ip link set tvhN alias x"},
      {"tc qdisc del dev tvhN clsact"},
      {"ip link set tvpN mtu 1000"},
   };
   auto const number = std::to_string(links->Require("eth0").index);
   for (auto const& damage : damages) {
      for (bool const attachAgain : {true, false}) {
         Attach();
         for (auto command : damage) {
            if (auto const at = command.find('N'); at != std::string::npos) {
               command.replace(at, 1, number);
            }
            host.Command(command);
         }
         SCOPED_TRACE(damage.front());
         if (attachAgain && damage.front().find("alias") == std::string::npos) {
            Attach();
            ExpectWorks();
            EXPECT_TRUE(links->Require("eth0").IsSetPromiscuous());
         }
         Detach();
         // A device that bears another's alias isn't ours.
         for (auto const& link : links->List()) {
            if (link.alias == "x") {
               links->Delete(link);
            }
         }
         ExpectNothingLeft();
         EXPECT_FALSE(links->Require("eth0").IsSetPromiscuous()) << damage.front();
      }
   }
}

TEST_F(PatchLifeTest, DevicesThatNobodyCameToNameAreTakenOver)
{
   auto const number = std::to_string(links->Require("eth0").index);
   GetHost().Command("ip link add tvp" + number + " type veth peer name tvh" + number);
   Attach();
   ExpectWorks();
   Detach();
   ExpectNothingLeft();
}

TEST_F(PatchLifeTest, SomeoneElsesDeviceOfOurNameIsLeftAlone)
{
   auto const name = "tvp" + std::to_string(links->Require("eth0").index);
   GetHost().Command("ip link add " + name + " type veth peer name other0");
   GetHost().Command("ip link set " + name + " alias theirs");
   Attach();
   ExpectWorks();
   Detach();
   EXPECT_EQ("theirs", links->Require(name).alias);
}

// Whatever moment a process dies at, the next one attaches and detaches.
TEST_F(PatchLifeTest, AKilledProcessLeavesNothingThatHarms)
{
   for (int round = 0; round < 40; ++round) {
      pid_t const child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
         RouteSocket ownSocket;
         Ruleset ownRules;
         BridgePatch own(ownSocket, ownRules);
         for (;;) {
            own.Attach("eth0", "tvnet0");
            own.Detach("eth0");
         }
      }
      // Not to wait for something, but to hit another moment each time.
      usleep(static_cast<useconds_t>(3000 + round * 1373 % 12000));
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
      if (round % 2) {
         Attach();
         if (round % 10 == 1) {
            ExpectWorks();
         }
      }
      Detach();
      ExpectNothingLeft();
      ASSERT_FALSE(links->Require("eth0").IsSetPromiscuous()) << round;
   }
}

TEST_F(PatchLifeTest, WhatCannotBeJoinedIsRefused)
{
   ExpectRefusal("eth9", "tvnet0", "find eth9: No such device");
   ExpectRefusal("eth0", "tvnet9", "find tvnet9: No such device");
   ExpectRefusal("eth0", "tap0", "attach eth0 to tap0: Not a bridge");
   ExpectRefusal("lo", "tvnet0", "attach lo: Not an Ethernet device");
   ExpectRefusal("tap0", "tvnet0", "attach tap0 to tvnet0: It is part of it already");
   GetHost().Command(std::vector<std::string>{"ip", "link", "set", "eth0", "down"});
   GetHost().Command(std::vector<std::string>{"ip", "link", "set", "eth0", "name", "a;\"$b"});
   ExpectRefusal("a;\"$b", "tvnet0", "attach a;\"$b: Its name has unusual characters");
}

TEST_F(PatchLifeTest, DetachingWhatIsNotAttachedDoesNothing)
{
   auto const before = DescribeHost();
   Detach();
   Detach("eth9");
   EXPECT_EQ(before, DescribeHost());
}

TEST_F(PatchLifeTest, AFailedAttachLeavesNothing)
{
   // The rules can't name the hook of a bridge that another table of ours holds as a set.
   GetHost().Command(std::vector<std::string>{"ip", "link", "set", "tvnet0", "down"});
   GetHost().Command(std::vector<std::string>{"ip", "link", "set", "tvnet0", "name", "b$d"});
   ExpectRefusal("eth0", "b$d", "attach eth0 to b$d: Not a bridge");
}

} // namespace

} // namespace vnet::host
