// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/engine/engineTest.hh"

#include "support/testProcess.hh"
#include "vnet/process/runningProcess.hh"

#include <algorithm>
#include <sstream>

namespace vnet::engine {

void EngineTest::SetUp()
{
   LabTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   netlab::Connect(GetHost(), "eth0", outside, "eth0");
   netlab::Connect(GetHost(), "eth1", outside, "eth1");
   GetHost().AddAddress("eth0", "198.51.100.1/24");
   outside.AddAddress("eth0", "198.51.100.2/24");
   GetHost().Command("ip route add default via 198.51.100.2");
   before = test::TakeState(GetHost());
   MakeEngine();
}

void EngineTest::TearDown()
{
   if (IsSkipped()) {
      return;
   }
   MakeEngine();
   auto used = engine->ListPresent();
   used.insert({0, 1, 2, 4, 5, 7, 8, 9});
   for (unsigned int const index : used) {
      engine->RemoveNetwork({}, index);
   }
   engine->Finish({}, true);
   for (auto const* port : {"guest", "other"}) {
      if (HasLink(port)) {
         GetHost().Command("ip link del " + std::string(port));
      }
   }
   EXPECT_TRUE(test::AreEqual(before, test::TakeState(GetHost())));
}

NetworkSettings EngineTest::MakeHostOnly(unsigned int index)
{
   NetworkSettings network;
   network.subnetAddress = Address{0xc0a80000 + (index << 8)};
   network.subnetMask = Address{0xffffff00};
   network.useAdapter = true;
   network.useDhcp = true;
   return network;
}

NetworkSettings EngineTest::MakeNat(unsigned int index)
{
   auto network = MakeHostOnly(index);
   network.useNat = true;
   return network;
}

PortForward EngineTest::MakeForward(std::uint16_t hostPort, std::string const& address,
                                    std::uint16_t vmPort, bool tcp)
{
   return {tcp, hostPort, Address::Parse(address).value(), vmPort, ""};
}

void EngineTest::MakeEngine()
{
   Place place;
   place.zones = zones;
   place.ensureWatcher = [this] { ++watchersEnsured; };
   place.stopWatcher = [this] { ++watchersStopped; };
   engine.emplace(place);
}

void EngineTest::Plug(unsigned int index, std::string const& port)
{
   GetHost().Command("ip link add " + port + " type veth peer name " + port + "-end netns " +
                     outside.GetPath());
   GetHost().Command("ip link set " + port + " up master " + GetNetworkName(index));
}

bool EngineTest::HasLink(std::string const& name)
{
   return GetHost().Command("ip -o link show").find(": " + name) != std::string::npos;
}

std::string EngineTest::GetNumber(std::string const& name)
{
   auto const text = GetHost().Command("ip -o link show " + name);
   return text.substr(0, text.find(':'));
}

std::vector<std::string> EngineTest::ListAddresses(std::string const& device)
{
   std::vector<std::string> addresses;
   std::istringstream words(GetHost().Command("ip -o -4 addr show dev " + device));
   for (std::string last, word; words >> word; last = word) {
      if (last == "inet") {
         addresses.push_back(word);
      }
   }
   std::ranges::sort(addresses);
   return addresses;
}

bool EngineTest::HasTable(unsigned int index)
{
   auto const tables = GetHost().Command("nft list tables") + "\n";
   return tables.find("inet tavrin-" + GetNetworkName(index) + "\n") != std::string::npos;
}

std::string EngineTest::ListTable(unsigned int index)
{
   return GetHost().Command("nft list table inet tavrin-" + GetNetworkName(index));
}

std::string EngineTest::ReadSysctl(std::string const& path)
{
   auto value = GetHost().Command("cat /proc/sys/net/" + path);
   value.erase(value.find_last_not_of('\n') + 1);
   return value;
}

std::vector<int> EngineTest::ListDnsmasqs(std::optional<unsigned int> index)
{
   std::vector<int> pids;
   for (auto const& facts : process::FindProcesses({"/usr/sbin/dnsmasq"})) {
      bool const fits = !index || facts.arguments.back().find("/" + GetNetworkName(*index) + "/") !=
                                     std::string::npos;
      if (fits && facts.sameNetwork.value_or(false)) {
         pids.push_back(facts.identity.pid);
      }
   }
   return pids;
}

std::vector<std::string> EngineTest::ListDifferences(unsigned int index)
{
   Place place;
   place.zones = zones;
   Engine fresh(place);
   return fresh.Look(settings, index).differences;
}

} // namespace vnet::engine
