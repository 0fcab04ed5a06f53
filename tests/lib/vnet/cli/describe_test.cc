// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/describe.hh"
#include "vnet/cli/networkFacts.hh"

#include <gtest/gtest.h>

namespace vnet::cli {

namespace {

Settings MakeSettings()
{
   Settings settings;
   settings.automatic = 0;
   settings.adapters = {{"eth0", 0}, {"eth1", 0}, {"eth2", 3}};
   auto& hostOnly = settings.networks[1];
   hostOnly.displayName = "Büro";
   hostOnly.subnetAddress = Address::Parse("192.168.5.0");
   hostOnly.subnetMask = Address::Parse("255.255.255.0");
   hostOnly.useAdapter = true;
   auto& nat = settings.networks[8];
   nat.subnetAddress = Address::Parse("10.0.0.0");
   nat.subnetMask = Address::Parse("255.0.0.0");
   nat.useDhcp = nat.useNat = true;
   return settings;
}

TEST(DescribeTest, NetworksAreAllThatTheDatabaseNames)
{
   EXPECT_EQ((std::set<unsigned int>{0, 1, 3, 8}), GetNetworks(MakeSettings()));
   EXPECT_TRUE(GetNetworks({}).empty());
}

TEST(DescribeTest, TheListIsATable)
{
   EXPECT_EQ("NETWORK  TYPE                                SUBNET          HOST  DHCP  NAME\n"
             "tvnet0   bridged automatically (eth0, eth1)  -               -     -     -\n"
             "tvnet1   host-only                           192.168.5.0/24  yes   no    Büro\n"
             "tvnet3   bridged (eth2)                      -               -     -     -\n"
             "tvnet8   NAT                                 10.0.0.0/8      no    yes   -\n",
             DescribeList(MakeSettings()));
}

TEST(DescribeTest, ARunningNetworkIsToldWhole)
{
   engine::Report report;
   report.state = engine::State::Running;
   report.dnsmasqRuns = true;
   report.plugged = {"tap0", "tap1"};
   EXPECT_EQ("tvnet8: NAT, running\n"
             "  subnet      10.0.0.0/8\n"
             "  addresses   10.0.0.2/32\n"
             "  DHCP        running\n"
             "  NAT         running\n"
             "  DNS         running\n"
             "  plugged in  tap0, tap1\n",
             DescribeStatus(MakeSettings(), 8, report, {"10.0.0.2/32"}));
}

TEST(DescribeTest, DifferencesAndRemarksAreTold)
{
   engine::Report report;
   report.state = engine::State::Running;
   report.differences = {"rules", "DHCP and DNS"};
   report.remarks = {"forward TCP port 0 to tvnet8: 0 is no port"};
   EXPECT_EQ("tvnet8: NAT, running, but not as the database wants\n"
             "  subnet      10.0.0.0/8\n"
             "  addresses   -\n"
             "  DHCP        not running\n"
             "  NAT         its rules differ\n"
             "  DNS         not running\n"
             "  plugged in  -\n"
             "  differs     rules\n"
             "  differs     DHCP and DNS\n"
             "  note        forward TCP port 0 to tvnet8: 0 is no port\n",
             DescribeStatus(MakeSettings(), 8, report, {}));
}

TEST(DescribeTest, ForwardsLeasesAndObstaclesAreTold)
{
   auto settings = MakeSettings();
   settings.networks[8].nat.forwards = {{true, 80, *Address::Parse("10.0.0.9"), 8080, "web"},
                                        {false, 53, *Address::Parse("10.0.0.9"), 53, ""}};
   engine::Report report;
   report.state = engine::State::Running;
   report.dnsmasqRuns = true;
   report.obstacles = {{"let guests out", "ip", "filter", "FORWARD", "Docker", "iptables -I"}};
   std::vector<Lease> const leases = {{"10.0.0.9", "52:54:00:12:34:56", "b\x1b[1m", 90},
                                      {"10.0.0.8", "", "", -5}};
   EXPECT_EQ("tvnet8: NAT, running\n"
             "  subnet      10.0.0.0/8\n"
             "  addresses   -\n"
             "  DHCP        running\n"
             "  NAT         running\n"
             "  DNS         running\n"
             "  forward     TCP 80 to 10.0.0.9:8080, web\n"
             "  forward     UDP 53 to 10.0.0.9:53\n"
             "  plugged in  -\n"
             "  lease       10.0.0.9, 52:54:00:12:34:56, b\\x1b[1m, 1 min left\n"
             "  note        let guests out: chain FORWARD of table ip filter drops it; "
             "\"iptables -I\" helps\n",
             DescribeStatus(settings, 8, report, {}, leases));
}

TEST(DescribeTest, ColoursAreForThoseWhoWantThem)
{
   engine::Report report;
   report.state = engine::State::Running;
   auto const plain = DescribeStatus(MakeSettings(), 8, report, {}, {}, Paint(false));
   EXPECT_EQ(std::string::npos, plain.find('\x1b'));
   auto const coloured = DescribeStatus(MakeSettings(), 8, report, {}, {}, Paint(true));
   EXPECT_NE(std::string::npos, coloured.find("\x1b[31mnot running\x1b[0m\n"));
   EXPECT_TRUE(DescribeList(MakeSettings(), Paint(true)).starts_with("\x1b[1mNETWORK"));
}

TEST(DescribeTest, ABridgedNetworkTellsWhichAdapterItHasOfThose)
{
   engine::Report report;
   report.state = engine::State::Running;
   report.adapters = {"eth1"};
   EXPECT_EQ("tvnet0: bridged automatically, running\n"
             "  addresses   -\n"
             "  adapters    eth0, eth1\n"
             "  bridged to  eth1\n"
             "  plugged in  -\n",
             DescribeStatus(MakeSettings(), 0, report, {}));
}

TEST(DescribeTest, EveryStateHasItsWords)
{
   std::pair<engine::State, char const*> const states[] = {
      {engine::State::Absent, "tvnet1: host-only, stopped\n"},
      {engine::State::Running, "tvnet1: host-only, running\n"},
      {engine::State::Stopped,
       "tvnet1: host-only, stopped; its bridge stays while something is plugged in\n"},
      {engine::State::Foreign, "tvnet1: host-only, stopped: someone else's device has the name of "
                               "its bridge, and is left alone\n"}};
   for (auto const& [state, words] : states) {
      engine::Report report;
      report.state = state;
      EXPECT_TRUE(DescribeStatus(MakeSettings(), 1, report, {}).starts_with(words)) << words;
   }
}

TEST(DescribeTest, ANetworkThatTheDatabaseLostIsToldSo)
{
   engine::Report report;
   report.state = engine::State::Running;
   EXPECT_TRUE(DescribeStatus(MakeSettings(), 5, report, {})
                  .starts_with("tvnet5: not in the database, running\n"));
}

} // namespace

} // namespace vnet::cli
