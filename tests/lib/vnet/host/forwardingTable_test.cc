// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/forwardingTable.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/packetPort.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <gtest/gtest.h>

namespace vnet::host {

namespace {

class ForwardingTableTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      socket.emplace();
      table.emplace(*socket);
      Links links(*socket);
      bridge = links.CreateBridge({"tvnet8", {{2, 0, 0, 0, 0, 8}}, 1500, "ours"});
      netlab::Connect(GetHost(), "tap0", one, "eth0");
      netlab::Connect(GetHost(), "tap1", other, "eth0");
      for (auto const* name : {"tap0", "tap1"}) {
         links.SetMaster(links.Require(name), bridge);
      }
      tap0 = links.Require("tap0");
      tap1 = links.Require("tap1");
   }

   // The port behind which the bridge believes an address, or 0.
   int FindPort(MacAddress mac)
   {
      for (auto const& entry : table->List(bridge)) {
         if (entry.mac == mac && entry.kind != ForwardingEntry::Kind::Own) {
            return entry.port;
         }
      }
      return 0;
   }

   // Something that the other one hears, so that the bridge has learned it.
   void Speak(netlab::Namespace const& place, netlab::Namespace const& listener, MacAddress as)
   {
      netlab::PacketPort const from(place, "eth0"), to(listener, "eth0");
      from.Send({netlab::broadcastMac, as, netlab::experimentType, {1}, -1, 0, {}});
      EXPECT_TRUE(to.WaitFor([&](netlab::Frame const& frame) { return frame.source == as; }));
   }

   netlab::Namespace one;
   netlab::Namespace other;
   std::optional<RouteSocket> socket;
   std::optional<ForwardingTable> table;
   Link bridge;
   Link tap0;
   Link tap1;
};

constexpr MacAddress someone{{2, 0, 0, 0, 7, 7}};

TEST_F(ForwardingTableTest, WhatWasLearnedIsListedAndForgotten)
{
   EXPECT_EQ(0, FindPort(someone));
   Speak(one, other, someone);
   Speak(other, one, {{2, 0, 0, 0, 7, 8}});
   EXPECT_EQ(tap0.index, FindPort(someone));
   table->FlushLearned(tap0);
   EXPECT_EQ(0, FindPort(someone));
   EXPECT_EQ(tap1.index, FindPort({{2, 0, 0, 0, 7, 8}}));
}

TEST_F(ForwardingTableTest, ADevicesOwnAddressIsNotLearned)
{
   auto const entries = table->List(bridge);
   EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [&](auto const& entry) {
      return entry.mac == tap0.mac && entry.kind == ForwardingEntry::Kind::Own;
   }));
}

TEST_F(ForwardingTableTest, APinnedAddressStaysWhereItIs)
{
   table->Pin(tap1, someone);
   table->Pin(tap1, someone);
   Speak(one, other, someone);
   EXPECT_EQ(tap1.index, FindPort(someone));
   table->FlushLearned(tap1);
   EXPECT_EQ(tap1.index, FindPort(someone));
   table->Unpin(tap1, someone);
   table->Unpin(tap1, someone);
   EXPECT_EQ(0, FindPort(someone));
   Speak(one, other, someone);
   EXPECT_EQ(tap0.index, FindPort(someone));
}

TEST_F(ForwardingTableTest, OnlyTheBridgesOwnEntriesAreListed)
{
   Links links(*socket);
   auto const elsewhere = links.CreateBridge({"tvnet9", {{2, 0, 0, 0, 0, 9}}, 1500, "ours"});
   table->Pin(tap0, someone);
   for (auto const& entry : table->List(elsewhere)) {
      EXPECT_NE(someone, entry.mac);
   }
}

TEST_F(ForwardingTableTest, WhatIsInNoBridgeCannotBePinned)
{
   EXPECT_THROW(table->Pin(bridge, someone), Error);
   GetHost().Command("ip link set tap0 nomaster");
   EXPECT_THROW(table->Pin(tap0, someone), Error);
   EXPECT_THROW(table->FlushLearned(tap0), Error);
}

} // namespace

} // namespace vnet::host
