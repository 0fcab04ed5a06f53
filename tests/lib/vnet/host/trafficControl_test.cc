// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/trafficControl.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/packetPort.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

class TrafficControlTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      netlab::Connect(GetHost(), "a0", sender, "eth0");
      GetHost().Command("ip link add b0 type veth peer name b1");
      GetHost().Command("ip link set b0 up");
      GetHost().Command("ip link set b1 up");
      socket.emplace();
      control.emplace(*socket);
      Links links(*socket);
      a0 = links.Require("a0");
      b0 = links.Require("b0");
      b1 = links.Require("b1");
   }

   using Filters = std::vector<RedirectFilter>;

   netlab::Namespace sender;
   std::optional<RouteSocket> socket;
   std::optional<TrafficControl> control;
   Link a0;
   Link b0;
   Link b1;
};

TEST_F(TrafficControlTest, WhatArrivesHereArrivesThere)
{
   netlab::PacketPort const there(GetHost(), "b0"), from(sender, "eth0");
   EXPECT_TRUE(control->List(a0).empty());
   control->RedirectArriving(a0, b0, 1);
   EXPECT_EQ((Filters{{1, b0.index}}), control->List(a0));
   from.SendText(netlab::broadcastMac, "hello");
   from.Send({netlab::broadcastMac, from.GetMac(), 0x1234, {1}, 5, 0, {}});
   EXPECT_TRUE(there.WaitForText("hello"));
   EXPECT_TRUE(there.WaitFor([](auto const& frame) { return frame.vlan == 5; }));
   EXPECT_EQ(1u, there.CountText("hello"));
}

TEST_F(TrafficControlTest, SettingItAgainChangesNothing)
{
   control->RedirectArriving(a0, b0, 1);
   auto const before = GetHost().Command("tc -d filter show dev a0 ingress");
   control->RedirectArriving(a0, b0, 1);
   EXPECT_EQ(before, GetHost().Command("tc -d filter show dev a0 ingress"));
}

TEST_F(TrafficControlTest, AnotherTargetTakesItsPlace)
{
   control->RedirectArriving(a0, b0, 1);
   control->RedirectArriving(a0, b1, 1);
   EXPECT_EQ((Filters{{1, b1.index}}), control->List(a0));
   control->RedirectArriving(a0, b0, 9);
   EXPECT_EQ((Filters{{1, b1.index}, {9, b0.index}}), control->List(a0));
}

TEST_F(TrafficControlTest, OthersFiltersAreNotListedAsRedirects)
{
   GetHost().Command("tc qdisc add dev a0 clsact");
   GetHost().Command(
      "tc filter add dev a0 ingress prio 3 protocol ip u32 match u32 0 0 flowid 1:1");
   GetHost().Command("tc filter add dev a0 ingress prio 4 protocol all u32 match u32 0 0 action "
                     "mirred egress mirror dev b0");
   EXPECT_TRUE(control->List(a0).empty());
   control->RedirectArriving(a0, b0, 1);
   EXPECT_EQ((Filters{{1, b0.index}}), control->List(a0));
   EXPECT_NE(std::string::npos, GetHost().Command("tc filter show dev a0 ingress").find("Mirror"));
}

TEST_F(TrafficControlTest, AFailureNamesTheDevice)
{
   Links(*socket).Delete(a0);
   EXPECT_THROW(control->RedirectArriving(a0, b0, 1), Error);
}

} // namespace

} // namespace vnet::host
