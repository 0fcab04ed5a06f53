// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/cli/vnetsTest.hh"

#include "vnet/host/bridgePatch.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/process/runningProcess.hh"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>

namespace vnet::cli {

namespace fs = std::filesystem;

namespace {

constexpr char databaseFile[] = "/etc/tavrin/networking";

std::vector<int> ListProcesses(std::vector<std::string> const& arguments)
{
   std::vector<int> pids;
   for (auto const& facts : process::FindProcesses(arguments)) {
      if (facts.sameNetwork.value_or(false)) {
         pids.push_back(facts.identity.pid);
      }
   }
   return pids;
}

Outcome RunToEnd(std::vector<std::string> const& command)
{
   test::TestProcess process(command);
   auto const status = process.Wait();
   Outcome outcome;
   if (status && WIFEXITED(*status)) {
      outcome.status = WEXITSTATUS(*status);
   }
   outcome.output = process.GetOutput();
   return outcome;
}

} // namespace

void VnetsTest::SetUp()
{
   LabTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   wire0 = lan.Plug(GetHost(), "eth0");
   wire1 = lan.Plug(GetHost(), "eth1");
   wire2 = otherLan.Plug(GetHost(), "eth2");
   lan.Plug(station, "eth0");
   otherLan.Plug(stranger, "eth0");
   GetHost().AddAddress("eth0", "10.3.0.1/24");
   station.AddAddress("eth0", "10.3.0.9/24");
   stranger.AddAddress("eth0", "10.3.0.8/24");
   GetHost().Command("ip route add default via 10.3.0.9");
   std::ofstream("/etc/tavrin/config") << "host.adapters = \"eth0 eth1 eth2\"\n";
}

void VnetsTest::TearDown()
{
   if (IsSkipped()) {
      return;
   }
   WriteDatabase("");
   RunWell({"stop"});
   for (auto const& port : ports) {
      GetHost().Command("ip link del " + port);
   }
   EXPECT_TRUE(ListDnsmasqs().empty());
   // It removes what was left for what was plugged in, and then itself.
   EXPECT_TRUE(test::Eventually([] { return ListWatchers().empty(); }));
   for (int const pid : ListWatchers()) {
      kill(pid, SIGKILL);
   }
   EXPECT_EQ("", GetHost().Command("nft list ruleset"));
   EXPECT_EQ("", GetHost().Command("ip -o link show type bridge"));
   EXPECT_TRUE(!fs::exists("/run/tavrin") || fs::is_empty("/run/tavrin"));
}

void VnetsTest::Plug(netlab::Namespace const& guest, std::string const& port,
                     std::string const& bridge)
{
   netlab::Connect(GetHost(), port, guest, "eth0");
   GetHost().Command("ip link set " + port + " master " + bridge);
   ports.insert(port);
}

void VnetsTest::Unplug(std::string const& port)
{
   GetHost().Command("ip link del " + port);
   ports.erase(port);
}

std::string VnetsTest::GetProgram()
{
   return TEST_BUILD_DIR "/tavrin-vnets";
}

Outcome VnetsTest::Run(std::vector<std::string> const& arguments)
{
   auto all = arguments;
   all.insert(all.begin(), GetProgram());
   return RunToEnd(all);
}

Outcome VnetsTest::RunWithoutRights(std::vector<std::string> const& arguments)
{
   std::vector<std::string> command = {"setpriv", "--bounding-set=-all", "--inh-caps=-all",
                                       GetProgram()};
   command.insert(command.end(), arguments.begin(), arguments.end());
   return RunToEnd(command);
}

std::string VnetsTest::RunWell(std::vector<std::string> const& arguments)
{
   auto const outcome = Run(arguments);
   EXPECT_EQ(0, outcome.status) << outcome.output;
   return outcome.output;
}

void VnetsTest::WriteDatabase(std::string const& lines)
{
   // As the library and good editors write: another file in its place.
   std::ofstream(std::string(databaseFile) + ".test") << "[general]\nversion=1\n" << lines;
   fs::rename(std::string(databaseFile) + ".test", databaseFile);
}

std::string VnetsTest::ReadDatabase()
{
   return test::ReadFile(databaseFile);
}

std::string VnetsTest::GetHosted()
{
   std::string text;
   for (auto const* index : {"1", "8"}) {
      text += std::string("[tvnet") + index + "]\nsubnet=192.168." + index +
              ".0\nmask=255.255.255.0\nadapter=true\ndhcp=true\n";
   }
   return text + "nat=true\n";
}

std::string VnetsTest::GetAutomatic(std::vector<std::string> const& adapters)
{
   std::string text = "automatic=tvnet0\n";
   for (auto const& adapter : adapters) {
      text += "[adapter " + adapter + "]\nnetwork=tvnet0\n";
   }
   return text;
}

bool VnetsTest::HasLink(std::string const& name)
{
   return fs::exists("/sys/class/net/" + name);
}

std::string VnetsTest::ListTables()
{
   return GetHost().Command("nft list tables");
}

bool VnetsTest::HasTable(std::string const& table)
{
   return (ListTables() + "\n").find(" " + table + "\n") != std::string::npos;
}

std::string VnetsTest::GetJoined()
{
   host::RouteSocket socket;
   host::Ruleset ruleset;
   std::string text;
   for (auto const& patch : host::BridgePatch(socket, ruleset).List()) {
      text += (text.empty() ? "" : " ") + patch.adapter + ":" + patch.bridge;
   }
   return text;
}

std::vector<int> VnetsTest::ListWatchers()
{
   return ListProcesses({GetProgram(), "watch"});
}

int VnetsTest::GetWatcher()
{
   auto const watchers = ListWatchers();
   EXPECT_LE(watchers.size(), 1u);
   return watchers.empty() ? 0 : watchers.front();
}

void VnetsTest::KillWatcher()
{
   auto const facts = process::FindProcess(GetWatcher());
   auto const watcher = facts ? process::ProcessHandle::Open(facts->identity) : std::nullopt;
   ASSERT_TRUE(watcher);
   watcher->Signal(SIGKILL);
   // It has no arguments any more long before it has ended: its sockets take a while to close.
   ASSERT_TRUE(watcher->WaitForEnd(test::patience));
}

std::vector<int> VnetsTest::ListDnsmasqs()
{
   return ListProcesses({"/usr/sbin/dnsmasq"});
}

} // namespace vnet::cli
