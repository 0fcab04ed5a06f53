// SPDX-License-Identifier: GPL-2.0-or-later
// Whole saves by the C interface, and what the kernel, the files and the processes say afterwards.
#include "lib/vnet/engine/engineTest.hh"
#include "lib/vnet/engine/saveWalk.hh"
#include "support/testProcess.hh"
#include "vnet/interface/library.hh"
#include "vnet/vnetlib.h"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using test::Edited;
using test::Save;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::string Read(std::string const& path)
{
   return test::ReadFile(path);
}

class SaveTest : public EngineTest {
protected:
   void SetUp() override
   {
      EngineTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      test::WriteText("/etc/tavrin/config", "host.adapters = \"eth0 eth1\"\n");
      test::WriteText("/etc/tavrin/networking", "[general]\nversion=1\n");
      Place place;
      place.ensureWatcher = [this] { ++watchersEnsured; };
      place.stopWatcher = [this] { ++watchersStopped; };
      Library::Replace(
         std::make_unique<Library>(Database::Place(), std::make_unique<Engine>(place)));
   }

   void TearDown() override
   {
      if (!IsSkipped()) {
         Library::Replace(nullptr);
      }
      EngineTest::TearDown();
   }

   // What isn't as the database wants it.
   std::vector<std::string> ListDifferencesOf(unsigned int index)
   {
      settings = Database(Database::Place()).GetSettings();
      return ListDifferences(index);
   }

   // Which adapters are joined to the bridge.
   std::vector<std::string> ListJoined(unsigned int index)
   {
      settings = Database(Database::Place()).GetSettings();
      Engine fresh;
      return fresh.Look(settings, index).adapters;
   }

   Edited model;
};

// Except for what a network leaves behind on purpose.
test::HostState WithoutLeases(test::HostState state)
{
   std::erase_if(state, [](auto const& entry) { return entry.first.ends_with(".leases"); });
   return state;
}

} // namespace

TEST_F(SaveTest, NothingChangedTouchesNothing)
{
   model.networks[0] = Edited::MakeBridged(true);
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   model.networks[8]->forwards = {MakeForward(8080, "192.168.8.128", 80)};
   model.adapters["eth1"] = 0;
   Save(model);
   auto const identity = test::TakeIdentity(GetHost());
   auto const state = test::TakeState(GetHost());
   auto const database = Read("/etc/tavrin/networking");

   Save(model);

   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
   EXPECT_TRUE(test::AreEqual(state, test::TakeState(GetHost())));
   EXPECT_EQ(database, Read("/etc/tavrin/networking"));
   for (unsigned int const index : {0, 1, 8}) {
      EXPECT_THAT(ListDifferencesOf(index), IsEmpty()) << index;
   }
}

TEST_F(SaveTest, NatBecomesHostOnlyAndBridgedAndNatAgain)
{
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   auto const nat = test::TakeState(GetHost());
   auto const bridge = GetNumber("tvnet8");

   model.networks[8] = Edited::MakeHostOnly(8);
   Save(model);
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
   EXPECT_THAT(ListTable(8), Not(HasSubstr("masquerade")));
   EXPECT_THAT(ListAddresses("tvnet8"), ElementsAre("192.168.8.1/24", "192.168.8.254/32"));
   EXPECT_EQ("0", ReadSysctl("ipv4/conf/eth0/forwarding"));
   EXPECT_EQ(bridge, GetNumber("tvnet8"));

   model.networks[8] = Edited::MakeBridged();
   model.adapters["eth1"] = 8;
   Save(model);
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
   EXPECT_THAT(ListAddresses("tvnet8"), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(), IsEmpty());
   EXPECT_THAT(ListJoined(8), ElementsAre("eth1"));

   model.networks[8] = Edited::MakeNat(8);
   model.adapters.clear();
   Save(model);
   EXPECT_THAT(ListJoined(8), IsEmpty());
   EXPECT_TRUE(test::AreEqual(nat, test::TakeState(GetHost())));
}

TEST_F(SaveTest, HostOnlyWithAdapterAndDhcpOffHasItsBridgeAndRules)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   Save(model);
   model.networks[1]->adapter = false;
   model.networks[1]->dhcp = false;
   Save(model);

   EXPECT_TRUE(HasLink("tvnet1"));
   EXPECT_TRUE(HasTable(1));
   EXPECT_THAT(ListAddresses("tvnet1"), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
}

TEST_F(SaveTest, ANewHostOnlyNetworkWithAdapterAndDhcpOffGetsItsBridgeAndRules)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[1]->adapter = false;
   model.networks[1]->dhcp = false;
   Save(model);
   EXPECT_TRUE(HasLink("tvnet1"));
   EXPECT_TRUE(HasTable(1));
}

TEST_F(SaveTest, ASubnetMovesToALowerNetwork)
{
   model.networks[1] = Edited::MakeNat(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   model.networks[1]->subnet = "192.168.8.0";
   model.networks[8]->subnet = "192.168.9.0";
   Save(model);

   EXPECT_THAT(ListAddresses("tvnet1"),
               ElementsAre("192.168.8.1/24", "192.168.8.2/32", "192.168.8.254/32"));
   EXPECT_THAT(ListAddresses("tvnet8"),
               ElementsAre("192.168.9.1/24", "192.168.9.2/32", "192.168.9.254/32"));
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

TEST_F(SaveTest, ASubnetMovesToAHigherNetwork)
{
   model.networks[1] = Edited::MakeNat(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   model.networks[1]->subnet = "192.168.9.0";
   model.networks[8]->subnet = "192.168.1.0";
   Save(model);
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

TEST_F(SaveTest, TwoNetworksSwapTheirSubnets)
{
   model.networks[1] = Edited::MakeNat(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   model.networks[1]->subnet = "192.168.8.0";
   model.networks[8]->subnet = "192.168.1.0";
   Save(model);
   EXPECT_THAT(ListAddresses("tvnet1"), testing::Contains("192.168.8.1/24"));
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

TEST_F(SaveTest, ASubnetIsTakenFromANetworkThatGetsNoStart)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   model.networks[1]->adapter = false;
   model.networks[1]->dhcp = false;
   model.networks[1]->subnet = "192.168.9.0";
   model.networks[8]->subnet = "192.168.1.0";

   ASSERT_TRUE(VNL_Load(0));
   test::WalkSave(model);
   // Already before the unload.
   EXPECT_THAT(ListAddresses("tvnet8"), testing::Contains("192.168.1.1/24"));
   EXPECT_THAT(ListAddresses("tvnet1"), IsEmpty());
   VNL_Unload();
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

TEST_F(SaveTest, AnAdapterMovesToALowerAndToAHigherNetwork)
{
   model.networks[2] = Edited::MakeBridged();
   model.networks[5] = Edited::MakeBridged();
   model.adapters["eth1"] = 5;
   Save(model);
   EXPECT_THAT(ListJoined(5), ElementsAre("eth1"));
   EXPECT_FALSE(HasLink("tvnet2"));

   for (unsigned int const target : {2, 5, 2}) {
      model.adapters["eth1"] = target;
      Save(model);
      EXPECT_THAT(ListJoined(target), ElementsAre("eth1"));
      EXPECT_THAT(ListJoined(7 - target), IsEmpty());
      EXPECT_FALSE(HasLink(GetNetworkName(7 - target)));
      EXPECT_THAT(ListDifferencesOf(target), IsEmpty());
   }
}

TEST_F(SaveTest, AnAdapterIsTakenFromANetworkThatBecomesHosted)
{
   model.networks[2] = Edited::MakeBridged();
   model.networks[5] = Edited::MakeNat(5);
   model.adapters["eth1"] = 2;
   Save(model);
   model.networks[2] = Edited::MakeNat(2);
   model.networks[5] = Edited::MakeBridged();
   model.adapters["eth1"] = 5;
   Save(model);
   EXPECT_THAT(ListJoined(5), ElementsAre("eth1"));
   EXPECT_THAT(ListDnsmasqs(5), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(2), SizeIs(1));
   EXPECT_THAT(ListDifferencesOf(2), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(5), IsEmpty());
}

TEST_F(SaveTest, ARemovedNetworkIsGoneAtOnce)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   model.networks[8] = std::nullopt;
   ASSERT_TRUE(VNL_Load(0));
   test::WalkSave(model);
   EXPECT_FALSE(HasLink("tvnet8"));
   EXPECT_FALSE(HasTable(8));
   EXPECT_THAT(ListDnsmasqs(8), IsEmpty());
   VNL_Unload();
   EXPECT_EQ(0, watchersStopped);

   model.networks[1] = std::nullopt;
   Save(model);
   EXPECT_TRUE(test::AreEqual(before, test::TakeState(GetHost())));
   EXPECT_EQ(1, watchersStopped);
}

TEST_F(SaveTest, AutomaticBridgingMovesToAHigherNetwork)
{
   model.networks[0] = Edited::MakeBridged(true);
   model.networks[4] = Edited::MakeBridged();
   model.adapters = {{"eth0", 0}, {"eth1", 0}};
   Save(model);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth0"));

   model.networks[0]->automatic = false;
   model.networks[4]->automatic = true;
   model.adapters = {{"eth0", 4}, {"eth1", 4}};
   Save(model);
   EXPECT_THAT(ListJoined(0), IsEmpty());
   EXPECT_THAT(ListJoined(4), ElementsAre("eth0"));
   EXPECT_EQ(4u, settings.automatic);
   EXPECT_FALSE(HasLink("tvnet0"));
}

// The order of the calls leaves the database without an automatic network then; its adapters stay
// where they are.
TEST_F(SaveTest, AutomaticBridgingMovesToALowerNetwork)
{
   model.networks[0] = Edited::MakeBridged();
   model.networks[4] = Edited::MakeBridged(true);
   model.adapters = {{"eth0", 4}, {"eth1", 4}};
   Save(model);
   model.networks[0]->automatic = true;
   model.networks[4]->automatic = false;
   model.adapters = {{"eth0", 0}, {"eth1", 0}};
   Save(model);
   EXPECT_THAT(ListJoined(0), ElementsAre("eth0"));
   EXPECT_THAT(ListJoined(4), IsEmpty());
   EXPECT_EQ(std::nullopt, settings.automatic);
}

TEST_F(SaveTest, AnEmptySubnetIsChosen)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   model.networks[8]->subnet = "";
   model.networks[8]->mask = "";
   Save(model);
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
   ASSERT_TRUE(settings.networks.at(8).GetSubnet());
   auto const subnet = *settings.networks.at(8).GetSubnet();
   EXPECT_THAT(ListAddresses("tvnet8"), testing::Contains(subnet.GetHost(1).ToString() + "/24"));
   auto const identity = test::TakeIdentity(GetHost());

   Save(model);
   EXPECT_EQ(subnet, Database(Database::Place()).GetSettings().networks.at(8).GetSubnet());
   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
}

TEST_F(SaveTest, ABridgedNetworkWithoutAdaptersKeepsItsBridgeForWhatIsPluggedIn)
{
   model.networks[2] = Edited::MakeBridged();
   model.adapters["eth1"] = 2;
   Save(model);
   Plug(2);
   auto const bridge = GetNumber("tvnet2");

   model.adapters.clear();
   Save(model);
   EXPECT_EQ(bridge, GetNumber("tvnet2"));
   EXPECT_THAT(ListJoined(2), IsEmpty());
   EXPECT_THAT(ListTable(2), HasSubstr("drop"));

   GetHost().Command("ip link del guest");
   Save(model);
   EXPECT_TRUE(test::AreEqual(before, test::TakeState(GetHost())));
}

TEST_F(SaveTest, WithNothingLoadedNothingHappens)
{
   model.networks[8] = Edited::MakeNat(8);
   model.networks[1] = Edited::MakeHostOnly(1);
   Save(model);
   auto const identity = test::TakeIdentity(GetHost());
   auto const state = test::TakeState(GetHost());
   auto const database = Read("/etc/tavrin/networking");

   model.networks[1] = std::nullopt;
   model.networks[8] = Edited::MakeBridged(true);
   model.networks[9] = Edited::MakeNat(9);
   test::WalkSave(model);
   VNL_Unload();
   VNL_Unload();

   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
   EXPECT_TRUE(test::AreEqual(state, test::TakeState(GetHost())));
   EXPECT_EQ(database, Read("/etc/tavrin/networking"));
}

TEST_F(SaveTest, ASecondUnloadDoesNothing)
{
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   GetHost().Command("nft flush ruleset");
   auto const state = test::TakeState(GetHost());
   VNL_Unload();
   EXPECT_TRUE(test::AreEqual(state, test::TakeState(GetHost())));
   EXPECT_EQ(1, watchersEnsured);
}

TEST_F(SaveTest, QuittingWithoutASaveStopsNothing)
{
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   auto const identity = test::TakeIdentity(GetHost());
   auto const state = test::TakeState(GetHost());

   ASSERT_TRUE(VNL_Load(0));
   VNL_FeatureStruct features{};
   features.version = VNL_RECORD_VERSION;
   features.ref = {VNL_RECORD_VERSION, VNL_RECORD_VERSION, 8};
   VNL_GetVnetFeatures(&features);
   EXPECT_EQ(1, features.hosted);
   VNL_Unload();

   EXPECT_TRUE(test::AreEqual(identity, test::TakeIdentity(GetHost())));
   EXPECT_TRUE(test::AreEqual(state, test::TakeState(GetHost())));
   EXPECT_EQ(1, watchersEnsured);
}

TEST_F(SaveTest, WhatIsStillMarkedAtTheUnloadIsStopped)
{
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   Plug(8);
   ASSERT_TRUE(VNL_Load(0));
   VNL_StopService("tvnet8", VNL_SERVICE_NAT);
   EXPECT_THAT(ListTable(8), HasSubstr("tvnet8"));
   EXPECT_THAT(ListAddresses("tvnet8"), testing::Contains("192.168.8.2/32"));
   VNL_Unload();
   EXPECT_THAT(ListTable(8), HasSubstr("tavrin-nowhere"));
   EXPECT_THAT(ListAddresses("tvnet8"), ElementsAre("192.168.8.1/24", "192.168.8.254/32"));
   EXPECT_THAT(ListDnsmasqs(8), SizeIs(1));

   ASSERT_TRUE(VNL_Load(0));
   VNL_StartService("tvnet8", VNL_SERVICE_NAT);
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
   EXPECT_THAT(ListAddresses("tvnet8"), testing::Contains("192.168.8.2/32"));
   VNL_Unload();
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

TEST_F(SaveTest, AllPartsStoppedLeaveABridgeForWhatIsPluggedIn)
{
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   Plug(8);
   auto const bridge = GetNumber("tvnet8");
   auto const stop = [] {
      ASSERT_TRUE(VNL_Load(0));
      for (auto const service : {VNL_SERVICE_BRIDGE, VNL_SERVICE_DHCP, VNL_SERVICE_NAT}) {
         VNL_StopService("tvnet8", service);
      }
      VNL_DisableNetworkAdapter("tvnet8");
      VNL_Unload();
   };
   stop();
   EXPECT_EQ(bridge, GetNumber("tvnet8"));
   EXPECT_THAT(ListAddresses("tvnet8"), IsEmpty());
   EXPECT_THAT(ListDnsmasqs(8), IsEmpty());
   EXPECT_THAT(ListTable(8), HasSubstr("tavrin-nowhere"));
   EXPECT_EQ(0, watchersStopped);

   GetHost().Command("ip link del guest");
   stop();
   EXPECT_TRUE(test::AreEqual(before, WithoutLeases(test::TakeState(GetHost()))));
   EXPECT_EQ(1, watchersStopped);
}

TEST_F(SaveTest, TheEndIsComparedAlsoWithWhatSomeoneElseDidMeanwhile)
{
   model.networks[1] = Edited::MakeHostOnly(1);
   model.networks[8] = Edited::MakeNat(8);
   Save(model);
   ASSERT_TRUE(VNL_Load(0));
   test::WalkSave(model);
   GetHost().Command("nft flush ruleset");
   GetHost().Command("ip addr flush dev tvnet1");
   VNL_Unload();
   EXPECT_THAT(ListDifferencesOf(1), IsEmpty());
   EXPECT_THAT(ListDifferencesOf(8), IsEmpty());
}

} // namespace vnet::engine
