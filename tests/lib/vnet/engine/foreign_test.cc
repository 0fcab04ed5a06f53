// SPDX-License-Identifier: GPL-2.0-or-later
// Someone else's device that has the name of one of our bridges.
#include "lib/vnet/engine/engineTest.hh"

#include "support/testProcess.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <iterator>

namespace vnet::engine {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

struct Device {
   std::string name;
   std::vector<std::string> commands; // they make it
   std::string removal = "ip link del tvnet8";
};

std::vector<Device> const devices = {
   {"Bridge", {"ip link add tvnet8 type bridge"}},
   {"BridgeWithPortsAndAddresses",
    {"ip link add tvnet8 type bridge", "ip link set eth1 up master tvnet8", "ip link set tvnet8 up",
     "ip addr add 203.0.113.1/24 dev tvnet8"}},
   {"BridgeWithOurAddressAndAnotherAlias",
    {"ip link add tvnet8 address 02:74:76:6e:00:08 type bridge",
     "ip link set tvnet8 alias theirs"}},
   {"BridgeWithAnotherNetworksAlias",
    {"ip link add tvnet8 type bridge", "ip link set tvnet8 alias tavrin-tvnet9"}},
   {"BridgeInOurSubnet",
    {"ip link add tvnet8 type bridge", "ip link set tvnet8 up",
     "ip addr add 192.168.8.1/24 dev tvnet8"}},
   {"Veth",
    {"ip link add tvnet8 type veth peer name far", "ip link set tvnet8 up",
     "ip addr add 203.0.113.1/24 dev tvnet8"}},
   {"VethWithOurAlias",
    {"ip link add tvnet8 type veth peer name far", "ip link set tvnet8 alias tavrin-tvnet8"}},
   {"Vlan",
    {"ip link set eth1 up", "ip link add link eth1 name tvnet8 type vlan id 8"},
    "ip link del tvnet8"},
   {"Macvlan", {"ip link add link eth1 name tvnet8 type macvlan mode bridge"}},
   {"Dummy", {"ip link add tvnet8 type dummy"}},
   {"PortOfAnotherBridge",
    {"ip link add theirs type bridge", "ip link add tvnet8 type veth peer name far",
     "ip link set tvnet8 up master theirs"},
    "ip link del tvnet8"},
   {"RenamedAdapter", {"ip link set eth1 name tvnet8"}, "ip link set tvnet8 down name eth1"},
};

struct Operation {
   std::string name;
   std::function<void(Engine&, Settings const&)> run;
   bool fails = true;
};

void Save(Engine& engine, Settings const& settings)
{
   engine.StopService(settings, 8, Service::Nat);
   engine.StopService(settings, 8, Service::Dhcp);
   engine.DisableAdapter(settings, 8);
   try {
      engine.EnableAdapter(settings, 8);
   } catch (Error const&) {
      // A save carries on.
   }
   engine.Finish(settings, true);
}

std::vector<Operation> const operations = {
   {"Start", [](Engine& engine, Settings const& settings) { engine.Start(settings, 8); }},
   {"StartAll", [](Engine& engine, Settings const& settings) { engine.StartAll(settings); }},
   {"Stop", [](Engine& engine, Settings const& settings) { engine.Stop(settings, 8); }, false},
   {"StopAll", [](Engine& engine, Settings const& settings) { engine.StopAll(settings); }, false},
   {"Save", Save},
   {"Remove", [](Engine& engine, Settings const&) { engine.RemoveNetwork({}, 8); }, false},
   {"Reconcile", [](Engine& engine, Settings const& settings) { engine.Reconcile(settings); },
    false},
   {"Sweep", [](Engine& engine, Settings const&) { engine.Finish({}, true); }, false},
};

class ForeignTest : public EngineTest, public testing::WithParamInterface<Device> {
protected:
   // False where the kernel has no such devices.
   bool MakeTheirs()
   {
      try {
         for (auto const& command : GetParam().commands) {
            GetHost().Command(command);
         }
         return true;
      } catch (std::exception const& error) {
         problem = error.what();
         return false;
      }
   }

   void RemoveTheirs()
   {
      GetHost().Command(GetParam().removal);
      for (auto const* other : {"theirs", "far"}) {
         if (HasLink(other)) {
            GetHost().Command("ip link del " + std::string(other));
         }
      }
      GetHost().Command("ip link set eth1 up nomaster");
   }

   // Without what the kernel changes by itself, as a link's state and addresses of IPv6.
   std::string Describe()
   {
      host::RouteSocket socket;
      auto const link = host::Links(socket).Require("tvnet8");
      std::string text = std::to_string(link.index) + " " + link.kind + " " + link.mac.ToString() +
                         " " + std::to_string(link.mtu) + " " + std::to_string(link.master) + " " +
                         link.alias + " " + std::to_string(link.promiscuity) +
                         (link.IsUp() ? " up" : " down");
      for (auto const& address : ListAddresses("tvnet8")) {
         text += " " + address;
      }
      return text;
   }

   void ExpectNothingOfOurs()
   {
      EXPECT_FALSE(HasTable(8));
      EXPECT_THAT(ListDnsmasqs(8), IsEmpty());
      EXPECT_FALSE(std::filesystem::exists("/run/tavrin/tvnet8"));
   }

   std::string problem;
};

class ReplacedTest : public ForeignTest {};

} // namespace

TEST_P(ForeignTest, NoOperationTouchesIt)
{
   settings.networks[8] = MakeNat(8);
   if (!MakeTheirs()) {
      GTEST_SKIP() << problem;
   }
   auto const theirs = Describe();
   auto const state = test::TakeState(GetHost());
   for (auto const& operation : operations) {
      SCOPED_TRACE(operation.name);
      MakeEngine();
      auto const failure = GetFailure([&] { operation.run(*engine, settings); });
      EXPECT_EQ(operation.fails,
                failure.find("tvnet8: Someone else's device has this name") != std::string::npos)
         << failure;
      EXPECT_EQ(theirs, Describe());
      EXPECT_EQ(State::Foreign, engine->Look(settings, 8).state);
   }
   EXPECT_TRUE(test::AreEqual(state, test::TakeState(GetHost())));
   RemoveTheirs();
}

TEST_P(ReplacedTest, ItTakesThePlaceOfOursAndIsLeftAloneWithNothingOfOurs)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].nat.forwards = {MakeForward(8080, "192.168.8.128", 80)};
   engine->StartAll(settings);
   GetHost().Command("ip link del tvnet8");
   if (!MakeTheirs()) {
      GTEST_SKIP() << problem;
   }
   auto const theirs = Describe();
   EXPECT_THAT(GetFailure([&] { engine->Reconcile(settings); }),
               HasSubstr("tvnet8: Someone else's device has this name"));
   EXPECT_EQ(theirs, Describe());
   ExpectNothingOfOurs();
   EXPECT_THAT(engine->ListPresent(), IsEmpty());
   RemoveTheirs();

   engine->StartAll(settings);
   EXPECT_THAT(ListDifferences(8), IsEmpty());
}

namespace {

std::string GetName(testing::TestParamInfo<Device> const& tested)
{
   return tested.param.name;
}

// Those that are told from ours in different ways.
bool IsTelling(Device const& device)
{
   return device.name == "BridgeWithOurAddressAndAnotherAlias" ||
          device.name == "BridgeInOurSubnet" || device.name == "VethWithOurAlias";
}

std::vector<Device> GetTelling()
{
   std::vector<Device> telling;
   std::ranges::copy_if(devices, std::back_inserter(telling), IsTelling);
   return telling;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Device, ForeignTest, testing::ValuesIn(devices), GetName);
INSTANTIATE_TEST_SUITE_P(Device, ReplacedTest, testing::ValuesIn(GetTelling()), GetName);

namespace {

class ForeignRaceTest : public EngineTest {};

} // namespace

// Whoever comes first has the name, and the other one lets it be.
TEST_F(ForeignRaceTest, OneThatComesWhileOursIsMadeIsNeverTaken)
{
   settings.networks[8] = MakeNat(8);
   settings.networks[8].useDhcp = false;
   for (int round = 0; round < 12; ++round) {
      test::TestProcess theirs({"ip", "link", "add", "tvnet8", "type", "bridge"});
      bool const made = GetFailure([&] { engine->Start(settings, 8); }).empty();
      bool const hasTheirs = test::ExitedWith(theirs.Wait(), 0);
      ASSERT_NE(made, hasTheirs) << round;
      auto const link = GetHost().Command("ip link show tvnet8");
      EXPECT_EQ(made, link.find("alias tavrin-tvnet8") != std::string::npos) << link;
      if (hasTheirs) {
         EXPECT_THAT(ListAddresses("tvnet8"), IsEmpty());
         EXPECT_FALSE(HasTable(8));
         GetHost().Command("ip link del tvnet8");
      }
      engine->Stop(settings, 8);
   }
}

} // namespace vnet::engine
