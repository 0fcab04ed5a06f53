// SPDX-License-Identifier: GPL-2.0-or-later
// Other makers of networks on the same host: neither they nor we break the other's.
#include "lib/vnet/watch/watchTest.hh"
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/resolver.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vnet::watch {

namespace {

using netlab::AskTcp;
using netlab::silence;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint16_t outsidePort = 7; // of a server outside
constexpr std::uint16_t webPort = 80;    // of each guest's server, reached by a forward
constexpr std::uint16_t theirsPort = 8080;
constexpr std::uint16_t oursPort = 2222;
constexpr std::uint16_t otherPort = 81; // of their guest's server that nobody publishes
constexpr std::uint16_t flowPort = 9;

struct Peer {
   std::string name;
   std::string file;    // what it loads
   std::string bridge;  // empty if it has none
   std::string network; // of the bridge, "172.17.0." and the like, a /16 or /24
   std::string length = "24";
   bool publishes = false; // port 80 of .2 as 8080
   // What an administrator does once so that both get along.
   std::string consent = "";
};

std::vector<Peer> const peers = {
   {"Docker", "docker.iptables", "docker0", "172.17.0.", "16", true},
   {"Docker28", "docker28.iptables", "docker0", "172.17.0.", "16", true},
   {"LibvirtWithIptables", "libvirt.iptables", "virbr0", "192.168.122."},
   {"LibvirtWithNftables", "libvirt.nft", "virbr0", "192.168.122."},
   {"Firewalld", "firewalld.nft", "", "", "24", false,
    "insert rule inet firewalld filter_INPUT_ZONES iifname tvnet8 goto filter_IN_trusted; "
    "insert rule inet firewalld filter_FORWARD_ZONES iifname tvnet8 goto filter_FWD_trusted"}};

// The watcher as users have it; a guest on network 8 with a forward, and one on the peer's bridge.
class PeersBase : public WatchTest {
protected:
   void SetUp() override;
   void TearDown() override;

   // Makes the peer's bridge and guest. False where the kernel or the machine lacks what its rules
   // need.
   bool MakePeer(Peer const& peer);
   // What its start and its restart do with its rules.
   void LoadRules(Peer const& peer);
   void Start();
   void PlugOurGuest();

   void ExpectTheirs(Peer const& peer);
   void ExpectOurs(Peer const& peer);

   bool HasOursAmongDockers();

   netlab::Namespace ours;
   netlab::Namespace theirs;
   std::string address; // of our guest
   std::string problem;
   std::optional<netlab::Resolver> resolver;
   std::optional<netlab::TcpEcho> outside, oursWeb, theirsWeb, theirsOther;
   std::optional<netlab::UdpEcho> flowEcho;
   std::string bridge;
};

void PeersBase::SetUp()
{
   WatchTest::SetUp();
   if (IsSkipped()) {
      return;
   }
   std::ofstream("/etc/resolv.conf") << "nameserver 10.3.0.9\n";
   resolver.emplace(station, "10.3.0.9", "203.0.113.7");
   outside.emplace(station, outsidePort);
   flowEcho.emplace(station, flowPort);
}

void PeersBase::TearDown()
{
   if (IsSkipped()) {
      return;
   }
   RunWell({"stop"});
   GetHost().Command("nft flush ruleset");
   if (!bridge.empty()) {
      GetHost().Command("ip link del " + bridge);
   }
   WatchTest::TearDown();
}

bool PeersBase::MakePeer(Peer const& peer)
{
   // All of them need it and set it for all devices.
   GetHost().Command({"/bin/sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward"});
   if (!peer.bridge.empty()) {
      bridge = peer.bridge;
      GetHost().Command("ip link add " + bridge + " type bridge");
      GetHost().AddAddress(bridge, peer.network + "1/" + peer.length);
      netlab::Connect(GetHost(), "their0", theirs, "eth0");
      GetHost().Command("ip link set their0 master " + bridge);
      theirs.AddAddress("eth0", peer.network + "2/" + peer.length);
      theirs.Command("ip route add default via " + peer.network + "1");
      theirsWeb.emplace(theirs, webPort);
      theirsOther.emplace(theirs, otherPort);
      station.Command("ip route add " + peer.network + "2 via 10.3.0.1");
   }
   try {
      LoadRules(peer);
      GetHost().Command("nft flush ruleset");
      return true;
   } catch (std::exception const& error) {
      problem = error.what();
      return false;
   }
}

void PeersBase::LoadRules(Peer const& peer)
{
   auto const file = std::string(PEER_RULES_DIR "/") + peer.file;
   if (peer.publishes &&
       GetHost().Command("nft list ruleset").find("DOCKER-USER") == std::string::npos) {
      GetHost().Command("iptables-nft -N DOCKER-USER");
      GetHost().Command("iptables-nft -A DOCKER-USER -j RETURN");
   }
   if (file.ends_with(".nft")) {
      GetHost().Command("nft -f " + file);
   } else {
      // Without this it would remove DOCKER-USER, which Docker itself leaves alone.
      GetHost().Command("iptables-nft-restore --noflush " + file);
   }
   if (!peer.consent.empty()) {
      GetHost().Command(std::vector<std::string>{"nft", peer.consent});
   }
}

void PeersBase::Start()
{
   WriteDatabase(GetHosted() + "[tvnet8 forward tcp 2222]\naddress=192.168.8.100\nport=80\n");
   RunWell({"start"});
}

void PeersBase::PlugOurGuest()
{
   Plug(ours, "tap0", "tvnet8");
   auto const lease = netlab::DhcpClient(ours, "eth0").Acquire();
   ASSERT_TRUE(lease);
   netlab::DhcpClient::Configure(ours, "eth0", *lease);
   ours.AddAddress("eth0", "192.168.8.100/24");
   oursWeb.emplace(ours, webPort);
   station.Command("ip route add 192.168.8.0/24 via 10.3.0.1");
}

void PeersBase::ExpectTheirs(Peer const& peer)
{
   if (bridge.empty()) {
      EXPECT_FALSE(AskTcp(station, {"10.3.0.1", otherPort}, "text", silence));
      return;
   }
   EXPECT_EQ("text", AskTcp(theirs, {"10.3.0.9", outsidePort}, "text"));
   EXPECT_EQ("10.3.0.1", outside->GetPeers().back().address);
   if (peer.publishes) {
      EXPECT_EQ("text", AskTcp(station, {"10.3.0.1", theirsPort}, "text"));
   }
   EXPECT_FALSE(AskTcp(station, {peer.network + "2", otherPort}, "text", silence));
   if (HasLink("tap0")) {
      EXPECT_FALSE(AskTcp(ours, {peer.network + "2", otherPort}, "text", silence));
   }
}

void PeersBase::ExpectOurs(Peer const& peer)
{
   EXPECT_TRUE(netlab::DhcpClient(ours, "eth0").Acquire());
   EXPECT_EQ("203.0.113.7", netlab::Resolve(ours, "192.168.8.2", "outside.test"));
   EXPECT_EQ("text", AskTcp(ours, {"10.3.0.9", outsidePort}, "text"));
   EXPECT_EQ("10.3.0.1", outside->GetPeers().back().address);
   EXPECT_EQ("text", AskTcp(station, {"10.3.0.1", oursPort}, "text"));
   EXPECT_FALSE(AskTcp(station, {"192.168.8.100", webPort}, "text", silence));
   if (!peer.bridge.empty()) {
      EXPECT_EQ("text", AskTcp(theirs, {"10.3.0.1", oursPort}, "text"));
      EXPECT_FALSE(AskTcp(theirs, {"192.168.8.100", webPort}, "text", silence));
   }
   EXPECT_THAT(RunWell({"status", "8"}), Not(HasSubstr("drops it")));
}

bool PeersBase::HasOursAmongDockers()
{
   return GetHost().Command("nft list ruleset").find("\"tavrin-tvnet8 in\"") != std::string::npos;
}

class PeersTest : public PeersBase, public testing::WithParamInterface<Peer> {};

TEST_P(PeersTest, TheyWereThereFirst)
{
   auto const& peer = GetParam();
   if (!MakePeer(peer)) {
      GTEST_SKIP() << problem;
   }
   LoadRules(peer);
   auto const before = GetHost().Command("nft -s list ruleset");
   Start();
   PlugOurGuest();
   ExpectTheirs(peer);
   ExpectOurs(peer);
   RunWell({"restart"});
   ExpectTheirs(peer);
   ExpectOurs(peer);
   Unplug("tap0");
   RunWell({"stop"});
   ExpectTheirs(peer);
   EXPECT_EQ(before, GetHost().Command("nft -s list ruleset"));
}

TEST_P(PeersTest, TheyComeAndStartAgainWhileOursRun)
{
   auto const& peer = GetParam();
   if (!MakePeer(peer)) {
      GTEST_SKIP() << problem;
   }
   Start();
   PlugOurGuest();
   LoadRules(peer);
   EXPECT_TRUE(test::Eventually([&] { return !peer.publishes || HasOursAmongDockers(); }));
   ExpectTheirs(peer);
   ExpectOurs(peer);
   netlab::UdpFlow flow(ours, {"10.3.0.9", flowPort});
   ASSERT_TRUE(flow.WaitForMore(20));
   LoadRules(peer);
   EXPECT_TRUE(flow.WaitForMore(20));
   ExpectTheirs(peer);
   ExpectOurs(peer);
   if (!peer.publishes) {
      return;
   }
   // As an administrator does who saves iptables' rules and loads them again.
   GetHost().Command({"/bin/sh", "-c",
                      "iptables-nft-save > /run/saved; "
                      "iptables-nft-restore /run/saved"});
   EXPECT_TRUE(flow.WaitForMore(20));
   EXPECT_THAT(RunWell({"status", "8"}), Not(HasSubstr("drops it")));
   // Harder than Docker ever is.
   GetHost().Command("iptables-nft -F DOCKER-USER");
   EXPECT_TRUE(test::Eventually([&] { return HasOursAmongDockers(); }));
   EXPECT_TRUE(flow.WaitForMore(20));
}

INSTANTIATE_TEST_SUITE_P(Peer, PeersTest, testing::ValuesIn(peers),
                         [](auto const& tested) { return tested.param.name; });

// --- What is told where we can't help ---

class BlockedTest : public PeersBase {
protected:
   // Our guest asks the world until somebody forbids it.
   void SetUp() override
   {
      PeersBase::SetUp();
      if (!IsSkipped()) {
         Start();
         PlugOurGuest();
      }
   }

   std::string GetStatus() { return RunWell({"status", "8"}); }
   // The command that a line of the status names for it, without quotes.
   std::string FindAdvice(std::string const& line)
   {
      auto const text = GetStatus();
      auto const at = text.find(line);
      auto const begin = text.find('"', at) + 1;
      return at == std::string::npos ? "" : text.substr(begin, text.find('"', begin) - begin);
   }
};

TEST_F(BlockedTest, FirewalldIsNamedWithTheZoneThatHelps)
{
   GetHost().Command("nft -f " PEER_RULES_DIR "/firewalld.nft");
   EXPECT_FALSE(AskTcp(ours, {"10.3.0.9", outsidePort}, "text", silence));
   EXPECT_FALSE(netlab::DhcpClient(ours, "eth0").Acquire(silence));
   auto const text = GetStatus();
   auto const advice = "drops it; \"firewall-cmd --permanent --zone=trusted "
                       "--change-interface=tvnet8 && firewall-cmd --reload\" helps\n";
   for (auto const* line :
        {"note        lease addresses to guests of tvnet8: chain filter_IN_public of table inet "
         "firewalld ",
         "note        answer the names that guests of tvnet8 ask for: chain filter_IN_public of "
         "table inet firewalld ",
         "note        let guests of tvnet8 out by eth0: chain filter_FWD_public of table inet "
         "firewalld "}) {
      EXPECT_THAT(text, HasSubstr(std::string(line) + advice));
   }
}

// What is told helps.
TEST_F(BlockedTest, EveryAdviceAgainstAPolicyOfNftablesHelps)
{
   GetHost().Command(std::vector<std::string>{
      "nft", "table inet theirs { chain passing { type filter hook forward priority 10; policy "
             "drop; }; chain coming { type filter hook input priority 10; policy drop; }; }"});
   std::vector<std::pair<std::string, std::function<bool()>>> const needs = {
      {"lease addresses to guests of tvnet8",
       [this] { return netlab::DhcpClient(ours, "eth0").Acquire(silence).has_value(); }},
      {"let guests of tvnet8 out by eth0", nullptr},
      {"let answers from eth0 in to guests of tvnet8", [this] {
          return AskTcp(ours, {"10.3.0.9", outsidePort}, "text", silence) == "text";
       }}};
   for (auto const& [need, works] : needs) {
      SCOPED_TRACE(need);
      if (works) {
         EXPECT_FALSE(works());
      }
      auto const advice = FindAdvice(need);
      ASSERT_THAT(advice, HasSubstr("nft insert rule inet theirs "));
      GetHost().Command(advice);
      EXPECT_THAT(GetStatus(), Not(HasSubstr(need)));
      if (works) {
         EXPECT_TRUE(works());
      }
   }
   EXPECT_THAT(GetStatus(), Not(HasSubstr("drops it")));
   EXPECT_EQ("text", AskTcp(station, {"10.3.0.1", oursPort}, "text"));
}

TEST_F(BlockedTest, APolicyOfIptablesIsNamedWithTheRulesThatHelp)
{
   try {
      GetHost().Command("iptables-nft -P FORWARD DROP");
   } catch (std::exception const& error) {
      GTEST_SKIP() << error.what();
   }
   EXPECT_FALSE(AskTcp(ours, {"10.3.0.9", outsidePort}, "text", silence));
   EXPECT_THAT(FindAdvice("chain FORWARD of table ip filter drops it"),
               "iptables -I FORWARD -i tvnet8 -j ACCEPT");
   GetHost().Command("iptables-nft -I FORWARD -i tvnet8 -j ACCEPT");
   EXPECT_THAT(FindAdvice("chain FORWARD of table ip filter drops it"),
               "iptables -I FORWARD -o tvnet8 -j ACCEPT");
   GetHost().Command("iptables-nft -I FORWARD -o tvnet8 -j ACCEPT");
   EXPECT_THAT(GetStatus(), Not(HasSubstr("drops it")));
   EXPECT_EQ("text", AskTcp(ours, {"10.3.0.9", outsidePort}, "text"));
}

} // namespace

} // namespace vnet::watch
