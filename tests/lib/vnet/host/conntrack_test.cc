// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/conntrack.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/host/sysctl.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <netinet/in.h>

namespace vnet::host {

namespace {

// The host forwards its UDP and TCP port 9000 to the guest's 7, or to the other guest's.
class ConntrackTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      netlab::Connect(GetHost(), "eth0", outside, "eth0");
      GetHost().AddAddress("eth0", "198.51.100.1/24");
      outside.AddAddress("eth0", "198.51.100.2/24");
      outside.AddAddress("eth0", "fd51::2/64");
      GetHost().AddAddress("eth0", "fd51::1/64");
      Plug(guest, "tap0", "10.8.0.1/30", "10.8.0.2/30", "10.8.0.1");
      Plug(otherGuest, "tap1", "10.8.0.5/30", "10.8.0.6/30", "10.8.0.5");
      Sysctl().WriteGlobal("ipv4/ip_forward", "1");
      conntrack.emplace();
      ruleset.emplace();
      Forward("10.8.0.2");
   }

   void Plug(netlab::Namespace const& place, std::string const& tap, std::string const& own,
             std::string const& theirs, std::string const& gateway)
   {
      netlab::Connect(GetHost(), tap, place, "eth0");
      GetHost().AddAddress(tap, own);
      place.AddAddress("eth0", theirs);
      place.Command("ip route add default via " + gateway);
   }

   void Forward(std::string const& target)
   {
      ruleset->Run("table ip t\ndelete table ip t\ntable ip t { chain pre { type nat hook "
                   "prerouting priority dstnat; ip daddr 198.51.100.1 meta l4proto { tcp, udp } "
                   "th dport 9000 dnat to " +
                      target + ":7; }; }",
                   "t");
   }

   std::vector<Flow> Find(std::uint16_t port)
   {
      auto flows = conntrack->List();
      std::erase_if(flows, [&](auto const& flow) { return flow.original.destinationPort != port; });
      return flows;
   }

   std::set<Address> const hostAddresses{{0xc6336401}};
   netlab::Namespace outside;
   netlab::Namespace guest;
   netlab::Namespace otherGuest;
   std::optional<Conntrack> conntrack;
   std::optional<Ruleset> ruleset;
};

TEST_F(ConntrackTest, AForwardedFlowIsListedWithBothItsSides)
{
   netlab::UdpEcho const echo(guest, 7);
   ASSERT_EQ("a", netlab::AskUdp(outside, {"198.51.100.1", 9000}, "a"));
   auto const flows = Find(9000);
   ASSERT_EQ(1u, flows.size());
   EXPECT_EQ(IPPROTO_UDP, flows[0].protocol);
   EXPECT_EQ("198.51.100.2", flows[0].original.source.ToString());
   EXPECT_EQ("198.51.100.1", flows[0].original.destination.ToString());
   EXPECT_EQ("10.8.0.2", flows[0].reply.source.ToString());
   EXPECT_EQ(7, flows[0].reply.sourcePort);
   EXPECT_EQ(flows[0].original.sourcePort, flows[0].reply.destinationPort);
   EXPECT_TRUE(flows[0].IsTranslated());
   EXPECT_GT(flows[0].timeout, 0u);
}

// The sender never pauses, so its flow never ends by itself.
TEST_F(ConntrackTest, AFlushedFlowFollowsTheNewForward)
{
   netlab::UdpEcho const echo(guest, 7), otherEcho(otherGuest, 7);
   netlab::UdpFlow const flow(outside, {"198.51.100.1", 9000}, 2);
   ASSERT_TRUE(flow.WaitForMore(20));
   Forward("10.8.0.6");
   ASSERT_TRUE(flow.WaitForMore(20));
   EXPECT_EQ(0u, otherEcho.GetCount());
   EXPECT_EQ(1u, conntrack->FlushForwards({{false, 9000}}, hostAddresses));
   ASSERT_TRUE(otherEcho.WaitFor(20));
   // The former target may still have some to read.
   ASSERT_TRUE(flow.WaitForMore(20));
   auto const before = echo.GetCount();
   ASSERT_TRUE(flow.WaitForMore(20));
   EXPECT_EQ(before, echo.GetCount());
}

TEST_F(ConntrackTest, OtherFlowsStay)
{
   netlab::UdpEcho const echo(guest, 7), far(outside, 9000);
   netlab::TcpEcho const tcp(guest, 7);
   ASSERT_EQ("a", netlab::AskUdp(outside, {"198.51.100.1", 9000}, "a"));
   ASSERT_EQ("b", netlab::AskTcp(outside, {"198.51.100.1", 9000}, "b"));
   // Of a guest to a port of that number outside.
   outside.Command("ip route add 10.8.0.0/24 via 198.51.100.1");
   ASSERT_EQ("c", netlab::AskUdp(guest, {"198.51.100.2", 9000}, "c"));
   ASSERT_EQ(3u, Find(9000).size());
   EXPECT_EQ(1u, conntrack->FlushForwards({{false, 9000}}, hostAddresses));
   auto const left = Find(9000);
   ASSERT_EQ(2u, left.size());
   EXPECT_EQ(1, std::count_if(left.begin(), left.end(),
                              [](auto const& flow) { return flow.protocol == IPPROTO_TCP; }));
   EXPECT_EQ(0u, conntrack->FlushForwards({{false, 9001}}, hostAddresses));
   EXPECT_EQ(1u, conntrack->FlushForwards({{true, 9000}}, hostAddresses));
   EXPECT_EQ(1u, Find(9000).size());
}

TEST_F(ConntrackTest, FlowsOfTheLoopbackNetworkAreFlushedToo)
{
   netlab::UdpEcho const echo(GetHost(), 9000);
   ASSERT_EQ("a", netlab::AskUdp(GetHost(), {"127.0.0.1", 9000}, "a"));
   EXPECT_EQ(1u, conntrack->FlushForwards({{false, 9000}}, {}));
   EXPECT_TRUE(Find(9000).empty());
}

TEST_F(ConntrackTest, Ipv6FlowsAreListedAndForgotten)
{
   ruleset->Run("table ip6 t { chain c { type filter hook input priority 0; ct state new "
                "accept; }; }",
                "t");
   netlab::UdpEcho const echo(GetHost(), 9000);
   ASSERT_EQ("a", netlab::AskUdp(outside, {"fd51::1", 9000}, "a"));
   ASSERT_EQ(1u, Find(9000).size());
   EXPECT_EQ("fd51::1", Find(9000)[0].original.destination.ToString());
   EXPECT_EQ(1u, conntrack->List(AF_INET6).size());
   EXPECT_EQ(1u, conntrack->Delete(
                    [](Flow const& flow) { return flow.original.destinationPort == 9000; }));
   EXPECT_TRUE(Find(9000).empty());
}

TEST_F(ConntrackTest, FlowsWithoutPortsAreNoFlowsOfPortZero)
{
   ASSERT_TRUE(netlab::Ping(outside, "198.51.100.1"));
   EXPECT_EQ(0u, conntrack->FlushForwards({{false, 0}}, hostAddresses));
   EXPECT_FALSE(conntrack->List(AF_INET).empty());
}

} // namespace

} // namespace vnet::host
