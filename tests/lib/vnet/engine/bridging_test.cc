// SPDX-License-Identifier: GPL-2.0-or-later
// Which adapter is joined to which bridge.
#include "lib/vnet/engine/engineTest.hh"
#include "vnet/host/events.hh"

#include <gmock/gmock.h>
#include <variant>

namespace vnet::engine {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EngineBridgingTest : public EngineTest {
protected:
   std::vector<std::string> ListJoined(unsigned int index)
   {
      Engine fresh;
      return fresh.Look(settings, index).adapters;
   }
};

} // namespace

TEST_F(EngineBridgingTest, AnAutomaticNetworkTakesTheAdapterWithTheDefaultRoute)
{
   settings.automatic = 0;
   settings.adapters = {{"eth0", 0}, {"eth1", 0}};
   engine->StartAll(settings);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth0"));

   GetHost().Command("ip link set eth1 up");
   GetHost().AddAddress("eth1", "203.0.113.1/24");
   GetHost().Command("ip route replace default via 203.0.113.2");
   engine->Reconcile(settings);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth1"));

   // Without a default route the present one stays.
   GetHost().Command("ip route del default");
   engine->Reconcile(settings);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth1"));

   GetHost().Command("ip addr flush dev eth1");
   GetHost().Command("ip route add default via 198.51.100.2");
   engine->Reconcile(settings);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth0"));
}

TEST_F(EngineBridgingTest, AFixedNetworkUsesOneOfSeveralAdapters)
{
   settings.adapters = {{"eth0", 2}, {"eth1", 2}};
   engine->StartAll(settings);
   EXPECT_THAT(ListJoined(2), ElementsAre("eth0"));
   EXPECT_THAT(engine->Look(settings, 2).remarks,
               ElementsAre(HasSubstr("a network uses one, eth0")));
}

TEST_F(EngineBridgingTest, AnAdapterThatIsNotThereIsWaitedFor)
{
   settings.adapters = {{"eth7", 2}};
   engine->StartAll(settings);
   EXPECT_TRUE(HasLink("tvnet2"));
   EXPECT_THAT(ListJoined(2), IsEmpty());
   EXPECT_THAT(engine->Look(settings, 2).remarks,
               ElementsAre(HasSubstr("bridge eth7 to tvnet2: there is no such device now")));
   GetHost().Command("ip link add eth7 type veth peer name eth7-end");
   engine->Reconcile(settings);
   EXPECT_THAT(ListJoined(2), ElementsAre("eth7"));
   GetHost().Command("ip link del eth7");
   engine->Reconcile(settings);
   EXPECT_THAT(ListJoined(2), IsEmpty());
}

TEST_F(EngineBridgingTest, AnEqualJoinStaysUntouchedAndAHarmedOneIsPutRight)
{
   settings.adapters = {{"eth0", 2}};
   engine->StartAll(settings);
   auto const identity = test::TakeIdentity(GetHost());
   MakeEngine();
   engine->StartAll(settings);
   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
   EXPECT_THAT(ListDifferences(2), IsEmpty());

   auto const good = test::TakeState(GetHost());
   for (auto const* harm : {"nft delete table netdev tavrin-patch-eth0",
                            "ip link set eth0 promisc off", "nft flush ruleset"}) {
      GetHost().Command(harm);
      EXPECT_THAT(ListDifferences(2), testing::Contains("adapter")) << harm;
      engine->Reconcile(settings);
      EXPECT_TRUE(test::AreEqual(good, test::TakeState(GetHost()))) << harm;
   }
}

TEST_F(EngineBridgingTest, GuestsThatWereLearnedAreNoDifference)
{
   settings.adapters = {{"eth0", 2}};
   engine->StartAll(settings);
   GetHost().Command("nft add element netdev tavrin-patch-eth0 guests { 52:54:00:00:00:01 }");
   EXPECT_THAT(ListDifferences(2), IsEmpty());
}

TEST_F(EngineBridgingTest, ANetworkNeverHasBothKindsForAMoment)
{
   settings.networks[2] = MakeNat(2);
   engine->StartAll(settings);
   Settings bridged;
   bridged.adapters["eth1"] = 2;

   auto const run = [&](Settings const& wanted) {
      host::Events events;
      engine->StartAll(wanted);
      return events.Read();
   };
   bool joined = false;
   bool addressed = true;
   auto const follow = [&](std::vector<host::Event> const& events) {
      int const bridge = std::stoi(GetNumber("tvnet2"));
      for (auto const& event : events) {
         if (auto const* link = std::get_if<host::LinkChanged>(&event);
             link && link->link.name.starts_with("tvp")) {
            joined = !link->removed && link->link.master == bridge;
         }
         auto const* address = std::get_if<host::AddressChanged>(&event);
         if (address && address->address.link == bridge &&
             address->address.address.family == AF_INET) {
            addressed = !address->removed;
         }
         EXPECT_FALSE(joined && addressed);
      }
   };
   follow(run(bridged));
   EXPECT_TRUE(joined);
   EXPECT_THAT(ListDnsmasqs(2), IsEmpty());
   follow(run(settings));
   EXPECT_FALSE(joined);
   EXPECT_TRUE(addressed);
}

} // namespace vnet::engine
