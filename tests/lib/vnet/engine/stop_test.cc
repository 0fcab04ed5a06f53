// SPDX-License-Identifier: GPL-2.0-or-later
// Stops, removals, and what is left of networks by the way.
#include "lib/vnet/engine/engineTest.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class StopTest : public EngineTest {
protected:
   // Leases stay for the next start.
   void ExpectNothingLeft()
   {
      auto state = test::TakeState(GetHost());
      std::erase_if(state, [](auto const& entry) { return entry.first.ends_with(".leases"); });
      EXPECT_TRUE(test::AreEqual(before, state));
   }
};

} // namespace

TEST_F(StopTest, NothingIsLeft)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80)};
   settings.automatic = 0;
   settings.adapters = {{"eth0", 0}, {"eth1", 0}};
   engine->StartAll(settings);
   EXPECT_THAT(engine->ListPresent(), ElementsAre(0, 1, 8));

   engine->StopAll(settings);
   ExpectNothingLeft();
   EXPECT_THAT(engine->ListPresent(), IsEmpty());
   EXPECT_EQ(1, watchersStopped);
}

TEST_F(StopTest, OneNetworkStopsByItself)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   auto const pids = ListDnsmasqs(1);

   engine->Stop(settings, 8);
   EXPECT_FALSE(HasLink("tvnet8"));
   EXPECT_FALSE(HasTable(8));
   EXPECT_EQ("0", ReadSysctl("ipv4/conf/eth0/forwarding"));
   EXPECT_EQ(pids, ListDnsmasqs(1));
   EXPECT_EQ(0, watchersStopped);
   EXPECT_EQ(State::Absent, engine->Look(settings, 8).state);
   EXPECT_EQ(State::Running, engine->Look(settings, 1).state);
}

TEST_F(StopTest, AStoppedNetworkStaysStoppedWhenOthersAreReconciled)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   engine->Stop(settings, 8);
   MakeEngine();
   engine->Reconcile(settings);
   engine->Reconcile(settings, 8);
   EXPECT_FALSE(HasLink("tvnet8"));
}

TEST_F(StopTest, AStoppedBridgeWithAPlugStaysStoppedUntilItIsPulled)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   Plug(8);
   auto const number = GetNumber("tvnet8");

   engine->Stop(settings, 8);
   EXPECT_EQ(number, GetNumber("tvnet8"));
   EXPECT_THAT(ListAddresses("tvnet8"), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(8), IsEmpty());
   EXPECT_THAT(ListTable(8), HasSubstr("tavrin-nowhere"));
   auto const report = engine->Look(settings, 8);
   EXPECT_EQ(State::Stopped, report.state);
   EXPECT_THAT(report.plugged, ElementsAre("guest"));
   EXPECT_THAT(report.differences, IsEmpty());

   MakeEngine();
   GetHost().Command("nft flush ruleset");
   engine->Reconcile(settings);
   EXPECT_THAT(ListTable(8), HasSubstr("tavrin-nowhere"));
   EXPECT_EQ(State::Stopped, engine->Look(settings, 8).state);

   GetHost().Command("ip link del guest");
   engine->Reconcile(settings);
   ExpectNothingLeft();
}

TEST_F(StopTest, AStartAfterAStopUsesTheSameBridge)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   Plug(8);
   auto const number = GetNumber("tvnet8");
   auto const running = test::TakeState(GetHost());
   engine->Stop(settings, 8);
   engine->Start(settings, 8);
   EXPECT_EQ(number, GetNumber("tvnet8"));
   EXPECT_TRUE(test::AreEqual(running, test::TakeState(GetHost())));
   EXPECT_EQ(State::Running, engine->Look(settings, 8).state);
}

TEST_F(StopTest, ARemovalTakesTheBridgeFromUnderItsPlugs)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   Plug(8);
   engine->RemoveNetwork({}, 8);
   EXPECT_FALSE(HasLink("tvnet8"));
   EXPECT_TRUE(HasLink("guest"));
   GetHost().Command("ip link del guest");
   EXPECT_TRUE(test::AreEqual(before, test::TakeState(GetHost())));
}

TEST_F(StopTest, RemovingWhatIsNotThereDoesNothing)
{
   settings.networks[1] = MakeHostOnly(1);
   engine->StartAll(settings);
   GetHost().Command("nft flush ruleset");
   engine->RemoveNetwork(settings, 8);
   engine->Finish(settings, false);
   // Nothing was compared either.
   EXPECT_FALSE(HasTable(1));
}

TEST_F(StopTest, WhatAnEarlierProcessLeftIsFoundByEachOfItsParts)
{
   GetHost().Command("nft add table inet tavrin-tvnet3");
   EXPECT_THAT(engine->ListPresent(), ElementsAre(3));
   engine->StartAll(settings);
   EXPECT_FALSE(HasTable(3));

   GetHost().Command("ip link add tvnet4 type bridge");
   GetHost().Command("ip link set tvnet4 alias tavrin-tvnet4");
   MakeEngine();
   EXPECT_THAT(engine->ListPresent(), ElementsAre(4));
   engine->StartAll(settings);
   EXPECT_FALSE(HasLink("tvnet4"));
}

TEST_F(StopTest, ARunningNetworkThatTheDatabaseNoLongerHoldsGoes)
{
   settings.networks[8] = MakeNat(8);
   engine->StartAll(settings);
   engine->Reconcile(Settings());
   EXPECT_TRUE(test::AreEqual(before, test::TakeState(GetHost())));
}

TEST_F(StopTest, TheForwardsToHoldAreThoseOfRunningNetworks)
{
   settings.networks[7] = MakeNat(7);
   settings.networks[7].nat.forwards = {MakeForward(7070, "192.168.7.128", 80)};
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80),
                                        MakeForward(5353, "192.168.8.128", 53, false)};
   engine->StartAll(settings);
   EXPECT_THAT(engine->ListForwards(settings), SizeIs(3));
   engine->Stop(settings, 8);
   EXPECT_THAT(
      engine->ListForwards(settings),
      ElementsAre(services::WantedForward{true, 7070, *Address::Parse("192.168.7.128"), 80}));
}

} // namespace vnet::engine
