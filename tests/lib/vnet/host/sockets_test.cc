// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/sockets.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/host/portHolder.hh"

#include <algorithm>
#include <gtest/gtest.h>

namespace vnet::host {

namespace {

class SocketsTest : public netlab::LabTest {
protected:
   static std::optional<Socket> Find(bool tcp, std::uint16_t port)
   {
      auto const all = Sockets().List();
      auto const found = std::ranges::find_if(
         all, [&](Socket const& each) { return each.tcp == tcp && each.port == port; });
      return found == all.end() ? std::nullopt : std::optional(*found);
   }
};

TEST_F(SocketsTest, AnEmptyHostHasNone)
{
   EXPECT_TRUE(Sockets().List().empty());
}

TEST_F(SocketsTest, WhatWaitsForOthersIsListed)
{
   netlab::TcpEcho const tcp(GetHost(), 2222);
   netlab::UdpEcho const udp(GetHost(), 5353);
   auto const first = Find(true, 2222);
   ASSERT_TRUE(first);
   EXPECT_FALSE(first->address);
   EXPECT_EQ(0u, first->mark);
   EXPECT_EQ(0, first->link);
   EXPECT_TRUE(Find(false, 5353));
   EXPECT_FALSE(Find(false, 2222) || Find(true, 5353));
}

TEST_F(SocketsTest, AHeldPortIsMarkedOrNotListed)
{
   auto const udp = PortHolder::Hold(false, 5353);
   auto const tcp = PortHolder::Hold(true, 2222);
   ASSERT_TRUE(udp && tcp);
   auto const held = Find(false, 5353);
   ASSERT_TRUE(held);
   EXPECT_EQ(PortHolder::mark, held->mark);
   EXPECT_FALSE(Find(true, 2222));
}

} // namespace

} // namespace vnet::host
