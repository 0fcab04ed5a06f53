// SPDX-License-Identifier: GPL-2.0-or-later
// Rules that others change.
#include "lib/vnet/watch/watchTest.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/database/lockFile.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/watch/watcherControl.hh"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vnet::watch {

namespace {

class WatcherRulesTest : public WatchTest {
protected:
   void Start(std::string const& more = "")
   {
      WriteDatabase(GetAutomatic({"eth0"}) + GetHosted() + more);
      RunWell({"start"});
      ASSERT_TRUE(FallsAsleep(GetWatcher()));
      before = ListRules();
   }

   // Without the guests that patches have learned, and with the tables in a fixed order.
   std::string ListRules()
   {
      std::string text;
      std::pair<char const*, char const*> const tables[] = {{"inet", "tavrin-tvnet0"},
                                                            {"inet", "tavrin-tvnet1"},
                                                            {"inet", "tavrin-tvnet8"},
                                                            {"netdev", "tavrin-patch-eth0"}};
      for (auto const& [family, table] : tables) {
         // One that isn't there is a complaint in the text.
         test::TestProcess list({"nft", "-s", "list", "table", family, table});
         list.Wait();
         text += list.GetOutput();
      }
      return text;
   }

   bool ComeBack()
   {
      return test::Eventually([this] { return ListRules() == before; });
   }

   std::string before;
   netlab::Namespace guest;
};

TEST_F(WatcherRulesTest, AFlushedRulesetIsBackWithinASecond)
{
   Start();
   // What else the machine does costs some of them time.
   auto shortest = test::patience;
   for (int round = 0; round < 4; ++round) {
      GetHost().Command("nft flush ruleset");
      auto const flushed = std::chrono::steady_clock::now();
      ASSERT_TRUE(ComeBack()) << round;
      shortest = std::min(shortest, std::chrono::duration_cast<test::Milliseconds>(
                                       std::chrono::steady_clock::now() - flushed));
   }
   EXPECT_LT(shortest, aSecond);
}

TEST_F(WatcherRulesTest, OneTableOfManyIsPutBack)
{
   Start();
   for (auto const* table :
        {"inet tavrin-tvnet8", "inet tavrin-tvnet0", "netdev tavrin-patch-eth0"}) {
      GetHost().Command("nft delete table " + std::string(table));
      EXPECT_TRUE(ComeBack()) << table;
   }
}

TEST_F(WatcherRulesTest, RulesThatWereAddedOrTakenOutArePutRight)
{
   Start();
   GetHost().Command("nft insert rule inet tavrin-tvnet8 forward accept");
   EXPECT_TRUE(ComeBack());
   GetHost().Command("nft flush chain inet tavrin-tvnet1 forward");
   EXPECT_TRUE(ComeBack());
   GetHost().Command("nft flush chain netdev tavrin-patch-eth0 from-wire");
   EXPECT_TRUE(ComeBack());
}

TEST_F(WatcherRulesTest, OthersRulesAreLeftAlone)
{
   Start();
   long const asleep = CountSwitches(GetWatcher());
   GetHost().Command("nft add table inet theirs");
   GetHost().Command("nft add chain inet theirs c");
   GetHost().Command("nft add rule inet theirs c accept");
   auto const theirs = GetHost().Command("nft list table inet theirs");
   // It hears of them, and of our own table's return.
   ASSERT_TRUE(test::Eventually([&] { return CountSwitches(GetWatcher()) > asleep; }));
   GetHost().Command("nft delete table inet tavrin-tvnet8");
   ASSERT_TRUE(ComeBack());
   EXPECT_EQ(theirs, GetHost().Command("nft list table inet theirs"));
   GetHost().Command("nft delete table inet theirs");
}

TEST_F(WatcherRulesTest, GuestsAreServedAgainAfterAFlush)
{
   Start();
   Plug(guest, "tap0", "tvnet8");
   guest.AddAddress("eth0", "192.168.8.50/24");
   guest.Command("ip route add default via 192.168.8.2");
   ASSERT_TRUE(netlab::Ping(guest, "10.3.0.9"));
   GetHost().Command("nft flush ruleset");
   ASSERT_TRUE(ComeBack());
   EXPECT_TRUE(netlab::Ping(guest, "10.3.0.9"));
   // Another network's host, which without rules would answer.
   EXPECT_FALSE(netlab::Ping(guest, "192.168.1.1", netlab::silence));
}

constexpr std::uint16_t flowPort = 9;
constexpr std::uint16_t sourcePort = 5001;
constexpr std::uint64_t someBytes = 1 << 20;

// What goes out by NAT, and what comes in by forwards.
struct Flows {
   netlab::TcpDownload out, in;
   netlab::UdpFlow asked, called;

   Flows(netlab::Namespace const& guest, netlab::Namespace const& station)
      : out(guest, {"10.3.0.9", sourcePort}), in(station, {"10.3.0.1", 2222}),
        asked(guest, {"10.3.0.9", flowPort}), called(station, {"10.3.0.1", 5300})
   {}

   bool GoOn() const
   {
      return out.WaitForMore(someBytes) && in.WaitForMore(someBytes) && asked.WaitForMore(20) &&
             called.WaitForMore(20);
   }
   bool AreCut() const { return out.IsCut() || in.IsCut(); }
   test::Milliseconds GetLongestGap() const
   {
      return std::max({out.GetLongestGap(), in.GetLongestGap(), asked.GetReport().longestGap,
                       called.GetReport().longestGap});
   }
};

TEST_F(WatcherRulesTest, FlowsGoOnOverFlushes)
{
   Start("[tvnet8 forward tcp 2222]\naddress=192.168.8.50\nport=5001\n"
         "[tvnet8 forward udp 5300]\naddress=192.168.8.50\nport=9\n");
   Plug(guest, "tap0", "tvnet8");
   guest.AddAddress("eth0", "192.168.8.50/24");
   guest.Command("ip route add default via 192.168.8.2");
   netlab::TcpSource const outside(station, sourcePort), inside(guest, sourcePort);
   netlab::UdpEcho const echo(station, flowPort), called(guest, flowPort);
   // What else the machine does costs some of them time.
   auto shortest = test::patience;
   for (int round = 0; round < 3; ++round) {
      Flows const flows(guest, station);
      ASSERT_TRUE(flows.GoOn());
      GetHost().Command("nft flush ruleset");
      EXPECT_TRUE(flows.GoOn()) << round;
      EXPECT_FALSE(flows.AreCut()) << round;
      std::cout << "a flush: longest gap " << flows.GetLongestGap().count() << " ms\n";
      shortest = std::min(shortest, flows.GetLongestGap());
      EXPECT_TRUE(ComeBack());
   }
   EXPECT_LT(shortest, aSecond);
}

// A tool that doesn't let our table be has it removed a few times a minute, not a thousand times.
TEST_F(WatcherRulesTest, AFightIsNoStorm)
{
   Start();
   int removed = 0;
   {
      host::Ruleset ruleset;
      auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
      while (std::chrono::steady_clock::now() < end) {
         if (ruleset.HasTable("inet", "tavrin-tvnet8")) {
            ruleset.Delete("inet", "tavrin-tvnet8");
            ++removed;
         }
         test::Pause();
      }
   }
   EXPECT_GE(removed, 2);
   EXPECT_LE(removed, 9);
   EXPECT_TRUE(ComeBack());
}

TEST_F(WatcherRulesTest, NothingHappensInTheMiddleOfASave)
{
   Start();
   {
      auto const lock = LockFile::Take("/run/tavrin", test::patience);
      GetHost().Command("nft flush ruleset");
      EXPECT_FALSE(test::Eventually([this] { return HasTable("tavrin-tvnet8"); }, aSecond));
   }
   EXPECT_TRUE(ComeBack());
}

TEST_F(WatcherRulesTest, TheDatabaseIsReadAnew)
{
   Start();
   auto const changed =
      ReadDatabase() + "[tvnet8 forward tcp 2222]\naddress=192.168.8.60\nport=22\n";
   {
      auto const lock = LockFile::Take("/run/tavrin", test::patience);
      WriteDatabase(changed.substr(changed.find("automatic=")));
      GetHost().Command("nft flush ruleset");
   }
   EXPECT_TRUE(
      test::Eventually([this] { return ListRules().find("192.168.8.60") != std::string::npos; }));
}

TEST_F(WatcherRulesTest, WhoeverWakesItHasItReadTheDatabase)
{
   Start();
   auto const hasRule = [this](std::string const& address) {
      return test::Eventually([&] { return ListRules().find(address) != std::string::npos; });
   };
   WriteDatabase(GetAutomatic({"eth0"}) + GetHosted() +
                 "[tvnet8 forward tcp 2222]\naddress=192.168.8.60\nport=22\n");
   {
      auto const lock = LockFile::Take("/run/tavrin", test::patience);
      EnsureWatcher("/run/tavrin", GetProgram());
   }
   EXPECT_TRUE(hasRule("192.168.8.60"));
   WriteDatabase(GetAutomatic({"eth0"}) + GetHosted() +
                 "[tvnet8 forward tcp 2222]\naddress=192.168.8.61\nport=22\n");
   ASSERT_NE(0, GetWatcher());
   kill(GetWatcher(), SIGHUP);
   EXPECT_TRUE(hasRule("192.168.8.61"));
}

TEST_F(WatcherRulesTest, TheHostsNameserversAreFollowed)
{
   std::ofstream("/etc/resolv.conf") << "nameserver 10.3.0.9\n";
   Start();
   auto const served = [] { return test::ReadFile("/run/tavrin/tvnet8/dnsmasq.servers"); };
   EXPECT_EQ("server=10.3.0.9\n", served());
   auto const servers = ListDnsmasqs();
   std::ofstream("/etc/resolv.conf") << "nameserver 10.3.0.8\nnameserver fd00::53\n";
   EXPECT_TRUE(test::Eventually([&] { return served() == "server=10.3.0.8\nserver=fd00::53\n"; }));
   EXPECT_EQ(servers, ListDnsmasqs());
}

TEST_F(WatcherRulesTest, WithADamagedDatabaseTheRulesComeBackAsTheyWere)
{
   Start();
   WriteDatabase("version=99\n");
   GetHost().Command("nft flush ruleset");
   EXPECT_TRUE(ComeBack());
}

TEST_F(WatcherRulesTest, SavesInARowDoNotMakeItSlow)
{
   Start();
   for (int i = 0; i < 8; ++i) {
      RunWell({"restart", "8"});
   }
   GetHost().Command("nft flush ruleset");
   EXPECT_TRUE(ComeBack());
}

TEST_F(WatcherRulesTest, ForwardedPortsAreHeldAsLongAsTheNetworkRuns)
{
   auto const isFree = [](int type, std::uint16_t port) {
      base::FileDescriptor const probe(socket(AF_INET, type | SOCK_CLOEXEC, 0));
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_port = htons(port);
      return bind(probe.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
   };
   Start("[tvnet8 forward tcp 2222]\naddress=192.168.8.60\nport=22\n"
         "[tvnet8 forward udp 5300]\naddress=192.168.8.60\nport=53\n");
   EXPECT_FALSE(isFree(SOCK_STREAM, 2222));
   EXPECT_FALSE(isFree(SOCK_DGRAM, 5300));
   RunWell({"stop", "8"});
   EXPECT_TRUE(test::Eventually([&] { return isFree(SOCK_STREAM, 2222); }));
   EXPECT_TRUE(test::Eventually([&] { return isFree(SOCK_DGRAM, 5300); }));
   RunWell({"start", "8"});
   EXPECT_TRUE(test::Eventually([&] { return !isFree(SOCK_STREAM, 2222); }));
}

} // namespace

} // namespace vnet::watch
