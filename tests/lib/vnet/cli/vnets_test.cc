// SPDX-License-Identifier: GPL-2.0-or-later
// The real program, from outside.
#include "lib/vnet/cli/vnetsTest.hh"

#include "support/netlab/dhcpClient.hh"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace vnet::cli {

namespace {

namespace fs = std::filesystem;

class VnetsCommandTest : public VnetsTest {
protected:
   netlab::Namespace guest;
};

TEST_F(VnetsCommandTest, HelpAndVersionNeedNothing)
{
   fs::remove("/etc/tavrin/config");
   EXPECT_TRUE(RunWell({"--help"}).starts_with("Usage: tavrin-vnets COMMAND"));
   EXPECT_TRUE(RunWell({"--version"}).starts_with("tavrin-vnets 0."));
}

TEST_F(VnetsCommandTest, AWrongCallEndsWithTwoAndAdvice)
{
   for (auto const& arguments : std::vector<std::vector<std::string>>{
           {}, {"begin"}, {"start", "eth0"}, {"list", "8"}, {"--all"}}) {
      auto const outcome = Run(arguments);
      EXPECT_EQ(2, outcome.status);
      EXPECT_TRUE(outcome.output.starts_with("tavrin-vnets: ")) << outcome.output;
      EXPECT_TRUE(outcome.output.ends_with("Try \"tavrin-vnets --help\".\n")) << outcome.output;
   }
}

TEST_F(VnetsCommandTest, OutputThatCannotBeWrittenIsAFailure)
{
   WriteDatabase(GetHosted());
   test::TestProcess process({"/bin/sh", "-c", GetProgram() + " list > /dev/full"});
   EXPECT_TRUE(test::ExitedWith(process.Wait(), 1));
   EXPECT_NE(std::string::npos, process.GetOutput().find("write the output"))
      << process.GetOutput();
}

TEST_F(VnetsCommandTest, InitMakesThreeNetworksOnFreeSubnets)
{
   // The first two that would be taken.
   GetHost().AddAddress("eth1", "192.168.5.77/28");
   GetHost().Command("ip route add 192.168.6.128/25 via 10.3.0.9 table 77");
   auto const listed = RunWell({"init"});
   EXPECT_NE(std::string::npos, listed.find("tvnet0   bridged automatically (eth0, eth1, eth2)"));
   EXPECT_NE(std::string::npos, listed.find("tvnet1   host-only"));
   EXPECT_NE(std::string::npos, listed.find("tvnet8   NAT"));
   EXPECT_EQ(std::string::npos, listed.find("192.168.5.0"));
   EXPECT_EQ(std::string::npos, listed.find("192.168.6.0"));
   EXPECT_EQ(listed, RunWell({"list"}));
   RunWell({"start"});
   EXPECT_TRUE(HasLink("tvnet0") && HasLink("tvnet1") && HasLink("tvnet8"));
}

TEST_F(VnetsCommandTest, InitLeavesADatabaseAlone)
{
   WriteDatabase("# mine\n");
   auto const before = ReadDatabase();
   auto const outcome = Run({"init"});
   EXPECT_EQ(1, outcome.status);
   EXPECT_EQ(
      "tavrin-vnets: create /etc/tavrin/networking: It is there already, and stays as it is\n",
      outcome.output);
   EXPECT_EQ(before, ReadDatabase());
}

TEST_F(VnetsCommandTest, WithoutADatabaseNothingIsStarted)
{
   for (auto const* command : {"list", "status", "start", "restart", "check", "export"}) {
      auto const outcome = Run({command});
      EXPECT_EQ(1, outcome.status) << command;
      EXPECT_EQ("tavrin-vnets: read /etc/tavrin/networking: There is no such database; "
                "\"tavrin-vnets init\" makes one\n",
                outcome.output)
         << command;
   }
   EXPECT_TRUE(ListWatchers().empty());
}

TEST_F(VnetsCommandTest, ADamagedDatabaseStopsNothingThatRuns)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   WriteDatabase("version=99\n");
   EXPECT_EQ(1, Run({"start"}).status);
   EXPECT_EQ(1, Run({"restart"}).status);
   EXPECT_TRUE(HasLink("tvnet1") && HasLink("tvnet8"));
   EXPECT_EQ(2u, ListDnsmasqs().size());
}

TEST_F(VnetsCommandTest, StopWorksWithADamagedDatabase)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   WriteDatabase("version=99\n");
   auto const outcome = Run({"stop"});
   EXPECT_EQ(0, outcome.status) << outcome.output;
   EXPECT_NE(std::string::npos, outcome.output.find("; stopping what runs"));
   EXPECT_FALSE(HasLink("tvnet1") || HasLink("tvnet8"));
}

TEST_F(VnetsCommandTest, StartMakesNetworksThatServeGuests)
{
   WriteDatabase(GetHosted());
   EXPECT_EQ("", RunWell({"start"}));
   Plug(guest, "tap0", "tvnet8");
   auto const lease = netlab::DhcpClient(guest, "eth0").Acquire();
   ASSERT_TRUE(lease);
   EXPECT_EQ(Address::Parse("192.168.8.254"), lease->GetAddress(netlab::option::serverId));
}

TEST_F(VnetsCommandTest, StartNamesOneNetworkAndLeavesOthers)
{
   WriteDatabase(GetHosted());
   RunWell({"start", "tvnet8"});
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_FALSE(HasLink("tvnet1"));
   RunWell({"start", "1"});
   EXPECT_TRUE(HasLink("tvnet1"));
   RunWell({"stop", "8"});
   EXPECT_FALSE(HasLink("tvnet8"));
   EXPECT_TRUE(HasLink("tvnet1"));
}

TEST_F(VnetsCommandTest, ANetworkThatIsNowhereIsAFailureAndTheOthersGoOn)
{
   WriteDatabase(GetHosted());
   auto const started = Run({"start", "5", "8"});
   EXPECT_EQ(1, started.status);
   EXPECT_EQ("tavrin-vnets: start tvnet5: The database doesn't hold it\n", started.output);
   EXPECT_TRUE(HasLink("tvnet8"));
   auto const stopped = Run({"stop", "5", "8"});
   EXPECT_EQ(1, stopped.status);
   EXPECT_EQ("tavrin-vnets: stop tvnet5: Neither the database nor this host has it\n",
             stopped.output);
   EXPECT_FALSE(HasLink("tvnet8"));
}

TEST_F(VnetsCommandTest, StartingWhatRunsChangesNothing)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   auto const servers = ListDnsmasqs();
   auto const devices = GetHost().Command("ip -o link");
   RunWell({"start"});
   EXPECT_EQ(servers, ListDnsmasqs());
   EXPECT_EQ(devices, GetHost().Command("ip -o link"));
}

TEST_F(VnetsCommandTest, StartBringsTheHostInLineWithAnotherDatabase)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   WriteDatabase("[tvnet3]\nsubnet=192.168.3.0\nmask=255.255.255.0\nadapter=true\n");
   RunWell({"start"});
   EXPECT_TRUE(HasLink("tvnet3"));
   EXPECT_FALSE(HasLink("tvnet1") || HasLink("tvnet8"));
}

TEST_F(VnetsCommandTest, StopKeepsTheDatabaseAndWhatGuestsArePluggedInto)
{
   WriteDatabase(GetHosted());
   auto const before = ReadDatabase();
   RunWell({"start"});
   Plug(guest, "tap0", "tvnet8");
   RunWell({"stop"});
   EXPECT_EQ(before, ReadDatabase());
   EXPECT_FALSE(HasLink("tvnet1"));
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_TRUE(ListDnsmasqs().empty());
   EXPECT_NE(std::string::npos,
             RunWell({"status", "8"}).find("stopped; its bridge stays while something"));
}

TEST_F(VnetsCommandTest, RestartStartsItsServersAnewAndKeepsTheBridgeOfGuests)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   Plug(guest, "tap0", "tvnet8");
   auto const bridge = GetHost().Command("cat /sys/class/net/tvnet8/ifindex");
   auto const servers = ListDnsmasqs();
   RunWell({"restart"});
   EXPECT_EQ(bridge, GetHost().Command("cat /sys/class/net/tvnet8/ifindex"));
   auto const others = ListDnsmasqs();
   EXPECT_EQ(2u, others.size());
   for (int const server : servers) {
      EXPECT_EQ(0, std::ranges::count(others, server));
   }
   EXPECT_TRUE(netlab::DhcpClient(guest, "eth0").Acquire());
}

TEST_F(VnetsCommandTest, RestartStartsWhatWasStopped)
{
   WriteDatabase(GetHosted());
   RunWell({"restart", "8"});
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_FALSE(HasLink("tvnet1"));
}

TEST_F(VnetsCommandTest, StatusTellsHowNetworksStand)
{
   WriteDatabase(GetHosted());
   EXPECT_EQ("tvnet8: NAT, stopped\n"
             "  subnet      192.168.8.0/24\n"
             "  addresses   -\n"
             "  DHCP        not running\n"
             "  NAT         not running\n"
             "  DNS         not running\n"
             "  plugged in  -\n"
             "\n",
             RunWell({"status", "tvnet8"}));
   RunWell({"start"});
   Plug(guest, "tap0", "tvnet8");
   EXPECT_EQ("tvnet8: NAT, running\n"
             "  subnet      192.168.8.0/24\n"
             "  addresses   192.168.8.254/32, 192.168.8.1/24, 192.168.8.2/32\n"
             "  DHCP        running\n"
             "  NAT         running\n"
             "  DNS         running\n"
             "  plugged in  tap0\n"
             "\n"
             "The watcher runs.\n",
             RunWell({"status", "tvnet8"}));
}

TEST_F(VnetsCommandTest, StatusTellsAllNetworksAndThoseThatTheDatabaseLost)
{
   WriteDatabase(GetHosted() +
                 GetAutomatic({"eth1"}).substr(std::string("automatic=tvnet0\n").size()));
   RunWell({"start"});
   // It would take the bridge away, which has no adapter any more.
   KillWatcher();
   WriteDatabase("");
   auto const text = RunWell({"status"});
   EXPECT_NE(std::string::npos, text.find("tvnet0: not in the database, "));
   EXPECT_NE(std::string::npos, text.find("tvnet1: not in the database, "));
   EXPECT_NE(std::string::npos, text.find("tvnet8: not in the database, "));
}

TEST_F(VnetsCommandTest, LeasesAreToldByCommandStatusAndJson)
{
   WriteDatabase(GetHosted());
   RunWell({"start"});
   EXPECT_EQ("NETWORK  ADDRESS  MAC  LEFT  NAME\n", RunWell({"leases"}));
   Plug(guest, "tap0", "tvnet8");
   ASSERT_TRUE(netlab::DhcpClient(guest, "eth0").Acquire());
   auto const mac = guest.GetMac("eth0").ToString();
   // dnsmasq answers first and writes then.
   auto const tellsMac = [&] { return RunWell({"leases"}).find(mac) != std::string::npos; };
   EXPECT_TRUE(test::Eventually(tellsMac));
   EXPECT_EQ(std::string::npos, RunWell({"leases", "1"}).find(mac));
   EXPECT_NE(std::string::npos, RunWithoutRights({"leases", "8"}).output.find(mac));
   EXPECT_NE(std::string::npos, RunWell({"status", "8"}).find("  lease       192.168.8."));
   EXPECT_NE(std::string::npos, RunWell({"leases", "--json"}).find("\"mac\": \"" + mac + "\""));
}

TEST_F(VnetsCommandTest, EveryCommandTellsInJson)
{
   WriteDatabase(GetHosted());
   EXPECT_NE(std::string::npos, RunWell({"list", "--json"}).find("\"network\": \"tvnet8\""));
   EXPECT_EQ("{\n  \"done\": true,\n  \"failures\": []\n}\n", RunWell({"start", "--json"}));
   auto const status = RunWell({"status", "8", "--json"});
   for (auto const* part : {"\"state\": \"running\"", "\"service\": \"DHCP\"", "\"192.168.8.1/24\"",
                            "\"plugged-in\": []", "\"differences\": []", "\"watcher\": true"}) {
      EXPECT_NE(std::string::npos, status.find(part)) << part << " in " << status;
   }
   auto const failed = Run({"stop", "5", "--json"});
   EXPECT_EQ(1, failed.status);
   EXPECT_NE(std::string::npos, failed.output.find("\"done\": false"));
   EXPECT_EQ("tavrin-vnets: start networks: This needs the rights of root\n"
             "{\n  \"done\": false,\n  \"failures\": [\n"
             "    \"start networks: This needs the rights of root\"\n  ]\n}\n",
             RunWithoutRights({"start", "--json"}).output);
   EXPECT_NE(std::string::npos,
             RunWithoutRights({"status", "--json"}).output.find("\"complete\": false"));
   EXPECT_NE(std::string::npos, RunWell({"check", "--json"}).find("\"problems\": []"));
   EXPECT_NE(std::string::npos, RunWell({"doctor", "--json"}).find("\"findings\": []"));
}

TEST_F(VnetsCommandTest, StatusTellsADeadServer)
{
   WriteDatabase(GetHosted());
   RunWell({"start", "8"});
   ASSERT_EQ(1u, ListDnsmasqs().size());
   // It would start the server again with whatever it looks at next.
   KillWatcher();
   kill(ListDnsmasqs().front(), SIGKILL);
   ASSERT_TRUE(test::Eventually([] { return ListDnsmasqs().empty(); }));
   auto const text = RunWell({"status", "8"});
   EXPECT_NE(std::string::npos, text.find("tvnet8: NAT, running, but not as the database wants"));
   EXPECT_NE(std::string::npos, text.find("  DHCP        not running\n"));
   EXPECT_NE(std::string::npos, text.find("  differs     "));
}

TEST_F(VnetsCommandTest, StatusTellsSomeoneElsesDevice)
{
   GetHost().Command("ip link add tvnet8 type bridge");
   WriteDatabase(GetHosted());
   EXPECT_EQ(1, Run({"start"}).status);
   EXPECT_NE(std::string::npos, RunWell({"status", "8"}).find("someone else's device"));
   EXPECT_TRUE(HasLink("tvnet1"));
   GetHost().Command("ip link del tvnet8");
}

TEST_F(VnetsCommandTest, NoCommandTouchesSomeoneElsesDevice)
{
   GetHost().Command("ip link add tvnet8 type bridge");
   GetHost().AddAddress("tvnet8", "203.0.113.1/24");
   auto const describe = [this] {
      return GetHost().Command("ip -4 -o addr show dev tvnet8") +
             test::ReadFile("/sys/class/net/tvnet8/ifindex") +
             test::ReadFile("/sys/class/net/tvnet8/ifalias") +
             test::ReadFile("/sys/class/net/tvnet8/address");
   };
   auto const theirs = describe();
   WriteDatabase(GetHosted());
   std::vector<std::vector<std::string>> const commands = {
      {"start"}, {"start", "8"}, {"restart"}, {"restart", "8"}, {"stop", "8"}, {"stop"}};
   for (auto const& command : commands) {
      auto const outcome = Run(command);
      EXPECT_EQ(command[0] != "stop",
                outcome.output.find("tvnet8: Someone else's device") != std::string::npos)
         << command[0] << ": " << outcome.output;
      EXPECT_EQ(theirs, describe()) << command[0];
      EXPECT_FALSE(HasTable("tavrin-tvnet8"));
   }
   GetHost().Command("ip link del tvnet8");
}

TEST_F(VnetsCommandTest, WithoutRightsOneMayLookAndNoMore)
{
   WriteDatabase(GetHosted());
   RunWell({"start", "8"});
   Plug(guest, "tap0", "tvnet8");
   EXPECT_EQ(0, RunWithoutRights({"list"}).status);
   for (auto const* command : {"start", "stop", "restart", "watch"}) {
      auto const outcome = RunWithoutRights({command});
      EXPECT_EQ(1, outcome.status) << command;
      EXPECT_EQ(std::string("tavrin-vnets: ") + command +
                   " networks: This needs the rights of root\n",
                outcome.output);
   }
   EXPECT_TRUE(HasLink("tvnet8"));
   EXPECT_FALSE(HasLink("tvnet1"));
   EXPECT_EQ("tvnet1: host-only, not on this host\n"
             "  subnet      192.168.1.0/24\n"
             "\n"
             "tvnet8: NAT, on this host\n"
             "  subnet      192.168.8.0/24\n"
             "  addresses   192.168.8.254/32, 192.168.8.1/24, 192.168.8.2/32\n"
             "  plugged in  tap0\n"
             "\n"
             "The watcher runs.\n"
             "Root sees more: services, rules, and what differs from the database.\n",
             RunWithoutRights({"status"}).output);
}

} // namespace

} // namespace vnet::cli
