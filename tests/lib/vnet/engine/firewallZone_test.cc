// SPDX-License-Identifier: GPL-2.0-or-later
// A host with firewalld.
#include "lib/vnet/engine/engineTest.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::UnorderedElementsAre;

// Each change of a zone changes the rules, as with the real one.
class ZonesDouble : public process::Zones {
public:
   explicit ZonesDouble(netlab::Namespace const& hostOfTest) : host(hostOfTest) {}

   std::optional<std::map<std::string, std::string>> ListDevices() override
   {
      ++asked;
      if (!cause.empty()) {
         throw Error("list", "devices of firewalld", cause);
      }
      return runs ? std::optional(devices) : std::nullopt;
   }
   std::vector<std::string> ListZones() override { return names; }
   void Add(std::string const& zone, std::string const& device) override
   {
      if (!refusal.empty()) {
         throw Error("put", device, refusal);
      }
      EXPECT_THAT(names, Contains(zone));
      EXPECT_TRUE(devices.emplace(device, zone).second) << device;
      MakeRules();
   }
   void Remove(std::string const& zone, std::string const& device) override
   {
      EXPECT_THAT(devices, Contains(Pair(device, zone)));
      devices.erase(device);
      MakeRules();
   }

   // As after its start: what was added before is forgotten.
   void Restart()
   {
      devices.clear();
      MakeRules();
   }
   void MakeRules()
   {
      std::string text = "add table inet firewalld; delete table inet firewalld; "
                         "add table inet firewalld";
      for (auto const& [device, zone] : devices) {
         text += "; add chain inet firewalld " + zone + "_" + device;
      }
      host.Command("nft " + text);
   }

   netlab::Namespace const& host;
   std::map<std::string, std::string> devices;
   std::vector<std::string> names{"public", "tavrin"};
   bool runs = true;
   std::string cause;   // why it doesn't answer
   std::string refusal; // why it changes nothing
   int asked = 0;
};

class FirewallZoneTest : public EngineTest {
protected:
   void SetUp() override
   {
      EngineTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      firewall = std::make_shared<ZonesDouble>(GetHost());
      zones = firewall;
      firewall->MakeRules();
      settings.networks[8] = MakeNat(8);
      MakeEngine();
   }
   void TearDown() override
   {
      if (!IsSkipped()) {
         for (unsigned int const index : {0u, 1u, 8u}) {
            engine->RemoveNetwork({}, index);
         }
         engine->Finish({}, true);
         EXPECT_THAT(firewall->devices, Not(Contains(Pair(testing::_, "tavrin"))));
         GetHost().Command("nft delete table inet firewalld");
      }
      EngineTest::TearDown();
   }

   std::shared_ptr<ZonesDouble> firewall;
};

TEST_F(FirewallZoneTest, ItsBridgeIsInOurZoneAsLongAsANetworkRuns)
{
   engine->StartAll(settings);
   EXPECT_THAT(firewall->devices, ElementsAre(Pair("tvnet8", "tavrin")));
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   engine->StartAll({});
   EXPECT_THAT(firewall->devices, IsEmpty());
}

TEST_F(FirewallZoneTest, ItsBridgeLeavesOurZoneWithTheNetworkNotOnlyAtTheEndOfASave)
{
   engine->StartService(settings, 8, Service::Nat);
   EXPECT_THAT(firewall->devices, ElementsAre(Pair("tvnet8", "tavrin")));
   engine->RemoveNetwork({}, 8);
   EXPECT_THAT(firewall->devices, IsEmpty());
}

TEST_F(FirewallZoneTest, EveryNetworkThatReachesTheHostIsThereAndABridgedOneIsNot)
{
   settings.networks[1] = MakeHostOnly(1);
   settings.networks[0] = {};
   settings.adapters["eth1"] = 0;
   engine->StartAll(settings);
   EXPECT_THAT(firewall->devices,
               UnorderedElementsAre(Pair("tvnet1", "tavrin"), Pair("tvnet8", "tavrin")));
}

TEST_F(FirewallZoneTest, AnotherZoneIsSomebodysChoice)
{
   firewall->devices["tvnet8"] = "public";
   firewall->MakeRules();
   engine->StartAll(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
   engine->StartAll({});
   EXPECT_THAT(firewall->devices, ElementsAre(Pair("tvnet8", "public")));
}

TEST_F(FirewallZoneTest, WithoutAZoneOfOursNothingIsDone)
{
   firewall->names = {"public"};
   engine->StartAll(settings);
   EXPECT_THAT(firewall->devices, IsEmpty());
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

TEST_F(FirewallZoneTest, AfterAStartOfItsTheBridgeIsPutThereAgain)
{
   engine->StartAll(settings);
   firewall->Restart();
   EXPECT_THAT(ListDifferences(8), ElementsAre("firewalld's zone"));
   engine->Reconcile(settings);
   EXPECT_THAT(firewall->devices, ElementsAre(Pair("tvnet8", "tavrin")));
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

TEST_F(FirewallZoneTest, ItIsAskedOnlyWhenItsRulesChange)
{
   engine->StartAll(settings);
   engine->Reconcile(settings);
   int const before = firewall->asked;
   engine->Reconcile(settings);
   engine->Reconcile(settings);
   EXPECT_EQ(before, firewall->asked);
}

TEST_F(FirewallZoneTest, WithoutItsRulesItIsNotAsked)
{
   GetHost().Command("nft delete table inet firewalld");
   MakeEngine();
   engine->StartAll(settings);
   EXPECT_EQ(0, firewall->asked);
   firewall->MakeRules();
}

TEST_F(FirewallZoneTest, OneThatFiltersForAnotherNetworkIsLeftAlone)
{
   firewall->runs = false;
   engine->StartAll(settings);
   EXPECT_THAT(firewall->devices, IsEmpty());
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

TEST_F(FirewallZoneTest, TheNetworkRunsWhateverItRefuses)
{
   firewall->refusal = "NOT_RUNNING";
   engine->StartAll(settings);
   EXPECT_EQ(1u, ListDnsmasqs(8).size());
   firewall->refusal.clear();
   engine->Reconcile(settings);
   EXPECT_THAT(firewall->devices, ElementsAre(Pair("tvnet8", "tavrin")));
}

TEST_F(FirewallZoneTest, OneThatDoesNotAnswerIsAskedOnce)
{
   firewall->cause = "Timeout was reached";
   settings.networks[1] = MakeHostOnly(1);
   engine->StartAll(settings);
   EXPECT_EQ(1, firewall->asked);
   EXPECT_EQ(2u, ListDnsmasqs().size());
   firewall->cause.clear();
}

TEST_F(FirewallZoneTest, BridgesOfNetworksThatAreGoneAreTakenOut)
{
   firewall->devices = {{"tvnet5", "tavrin"}, {"tvnet7", "public"}, {"eth0", "tavrin"}};
   firewall->MakeRules();
   engine->StartService(settings, 8, Service::Nat);
   engine->Finish(settings, true);
   EXPECT_THAT(firewall->devices,
               UnorderedElementsAre(Pair("tvnet7", "public"), Pair("eth0", "tavrin"),
                                    Pair("tvnet8", "tavrin")));
   firewall->devices.erase("eth0");
}

} // namespace

} // namespace vnet::engine
