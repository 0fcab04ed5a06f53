// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/lab.hh"
#include "support/netlab/tcp.hh"
#include "vnet/watch/flowKeeper.hh"

#include <gmock/gmock.h>

namespace vnet::watch {

namespace {

using netlab::AskTcp;
using testing::HasSubstr;
using testing::Not;

// A guest of tvnet8 and the world, with the host between, which translates nothing.
class FlowKeeperTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      netlab::Connect(GetHost(), "tvnet8", guest, "eth0");
      netlab::Connect(GetHost(), "eth0", outside, "eth0");
      GetHost().AddAddress("tvnet8", "192.168.8.2/24");
      GetHost().AddAddress("eth0", "198.51.100.1/24");
      guest.AddAddress("eth0", "192.168.8.10/24");
      outside.AddAddress("eth0", "198.51.100.2/24");
      guest.Command("ip route add default via 192.168.8.2");
      outside.Command("ip route add 192.168.8.0/24 via 198.51.100.1");
      GetHost().Command({"/bin/sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward"});
      server.emplace(outside, 7);
   }

   bool GetsOut(test::Milliseconds deadline)
   {
      return AskTcp(guest, {"198.51.100.2", 7}, "text", deadline) == "text";
   }
   std::string List() { return GetHost().Command("nft list ruleset"); }

   static constexpr test::Milliseconds silence{400};
   netlab::Namespace guest, outside;
   std::optional<netlab::TcpEcho> server;
   FlowKeeper keeper;
};

TEST_F(FlowKeeperTest, OthersFlushesPassItOver)
{
   keeper.Keep({8});
   auto const before = List();
   EXPECT_THAT(before, HasSubstr("table inet tavrin-keeper"));
   GetHost().Command("nft flush ruleset");
   EXPECT_EQ(before, List());
   keeper.End();
   EXPECT_EQ("", List());
   keeper.End();
}

TEST_F(FlowKeeperTest, NothingNewLeavesItsNetworksUntranslated)
{
   EXPECT_TRUE(GetsOut(test::patience));
   keeper.Keep({8});
   EXPECT_FALSE(GetsOut(silence));
   GetHost().Command(std::vector<std::string>{
      "nft", "table ip mine { chain out { type nat hook postrouting priority srcnat; "
             "ip saddr 192.168.8.0/24 oifname eth0 masquerade; }; }"});
   EXPECT_TRUE(GetsOut(test::patience));
}

TEST_F(FlowKeeperTest, OtherDevicesAreNoneOfItsBusiness)
{
   keeper.Keep({1, 9});
   EXPECT_TRUE(GetsOut(test::patience));
   keeper.Keep({8, 9});
   EXPECT_FALSE(GetsOut(silence));
   keeper.Keep({9});
   EXPECT_TRUE(GetsOut(test::patience));
}

TEST_F(FlowKeeperTest, ForNoNetworkItIsGone)
{
   keeper.Keep({});
   EXPECT_EQ("", List());
   keeper.Keep({8});
   auto const before = List();
   keeper.Keep({});
   EXPECT_EQ("", List());
   EXPECT_TRUE(GetsOut(test::patience));
   keeper.Keep({8});
   EXPECT_EQ(before, List());
}

TEST_F(FlowKeeperTest, ItGoesWithItsOwner)
{
   {
      FlowKeeper other;
      other.Keep({8});
      EXPECT_THAT(List(), HasSubstr("tavrin-keeper"));
   }
   EXPECT_THAT(List(), Not(HasSubstr("tavrin-keeper")));
}

TEST_F(FlowKeeperTest, WithoutTheTableItTriesAgainAndNothingElseHappens)
{
   FlowKeeper other;
   other.Keep({8});
   // The table is another's.
   keeper.Keep({9});
   other.End();
   keeper.Keep({9});
   EXPECT_THAT(List(), HasSubstr("elements = { \"tvnet9\" }"));
}

} // namespace

} // namespace vnet::watch
