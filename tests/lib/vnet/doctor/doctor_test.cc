// SPDX-License-Identifier: GPL-2.0-or-later
// Each cause is made, named by the real program, and mended by the line that it tells.
#include "lib/vnet/cli/vnetsTest.hh"
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/doctor/doctor.hh"
#include "vnet/json/text.hh"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace vnet::doctor {

namespace {

namespace fs = std::filesystem;
using cli::Outcome;
using netlab::silence;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int found = 3;
constexpr std::uint16_t outsidePort = 7;

class DoctorTest : public cli::VnetsTest {
protected:
   void SetUp() override
   {
      VnetsTest::SetUp();
      if (!IsSkipped()) {
         outside.emplace(station, outsidePort);
      }
   }

   // Network 8 with a guest, that reaches the server outside.
   void StartWithGuest(std::string const& more = "")
   {
      WriteDatabase(GetHosted() + more);
      RunWell({"start", "8"});
      Plug(guest, "tap0", "tvnet8");
      guest.AddAddress("eth0", "192.168.8.200/24");
      guest.Command("ip route add default via 192.168.8.2");
      ASSERT_TRUE(GuestGetsOut());
   }

   bool GuestGetsOut(test::Milliseconds deadline = test::patience)
   {
      return netlab::AskTcp(guest, {"10.3.0.9", outsidePort}, "text", deadline) == "text";
   }

   bool GuestGetsLease(test::Milliseconds deadline = test::patience)
   {
      return netlab::DhcpClient(guest, "eth0").Acquire(deadline).has_value();
   }

   // What the program finds of network 8, by cause and remedy.
   static Findings Examine(std::string const& network = "8")
   {
      auto const outcome = Run({"doctor", network, "--json"});
      Findings findings;
      auto const value = json::Parse(outcome.output);
      for (auto const& item : value.members.at(0).value.items) {
         findings.push_back({item.members.at(0).value.text,
                             {},
                             item.members.at(2).value.text,
                             item.members.at(3).value.text});
      }
      EXPECT_EQ(findings.empty() ? 0 : found, outcome.status) << outcome.output;
      return findings;
   }

   static std::vector<std::string> GetCauses(Findings const& findings)
   {
      std::vector<std::string> causes;
      for (auto const& finding : findings) {
         causes.push_back(finding.cause);
      }
      return causes;
   }

   // Does what a person would with the line.
   std::string Follow(std::string const& remedy)
   {
      auto const folder = fs::path(GetProgram()).parent_path().string();
      return GetHost().Command({"/bin/sh", "-c", "PATH=" + folder + ":$PATH; " + remedy});
   }

   // Mends what has this cause, and expects that nothing else is found then.
   void Mend(std::string const& cause, std::string const& network = "8")
   {
      for (auto const& finding : Examine(network)) {
         if (finding.cause == cause) {
            Follow(finding.remedy);
         }
      }
      // The watcher may still have something to put right.
      EXPECT_TRUE(test::Eventually([&] { return Examine(network).empty(); }));
   }

   static void KillServer()
   {
      ASSERT_EQ(1u, ListDnsmasqs().size());
      kill(ListDnsmasqs().front(), SIGKILL);
      ASSERT_TRUE(test::Eventually([] { return ListDnsmasqs().empty(); }));
   }

   netlab::Namespace guest;
   std::optional<netlab::TcpEcho> outside;
};

TEST_F(DoctorTest, AHealthyNetworkHasNothing)
{
   StartWithGuest("[tvnet8 forward udp 5353]\naddress=192.168.8.200\nport=53\n"
                  "[tvnet8 forward tcp 2222]\naddress=192.168.8.200\nport=22\n");
   EXPECT_EQ("Nothing was found.\n", RunWell({"doctor", "8"}));
   // The watcher holds the ports of forwards, which is no service that has them.
   auto const held = [this] {
      return GetHost().Command("ss -lnu").find(":5353 ") != std::string::npos;
   };
   ASSERT_TRUE(test::Eventually(held));
   EXPECT_EQ("Nothing was found.\n", RunWell({"doctor", "8"}));
}

TEST_F(DoctorTest, ADropOfAnotherTableIsMendedByItsLines)
{
   StartWithGuest();
   GetHost().Command(
      std::vector<std::string>{"nft", "table inet theirs { chain passing { type filter hook "
                                      "forward priority 10; policy drop; }; }"});
   EXPECT_FALSE(GuestGetsOut(silence));
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("filter", "filter"));
   Mend("filter");
   EXPECT_TRUE(GuestGetsOut());
   GetHost().Command("nft delete table inet theirs");
}

// The chains that ufw makes in iptables' table, with its own rules for forwarding last.
TEST_F(DoctorTest, UfwIsMendedByACommandOfItsOwn)
{
   StartWithGuest();
   GetHost().Command(std::vector<std::string>{
      "nft", "table ip filter { chain ufw-user-forward { }; chain FORWARD { type filter hook "
             "forward priority 0; policy drop; jump ufw-user-forward; }; }"});
   EXPECT_FALSE(GuestGetsOut(silence));
   auto const findings = Examine();
   ASSERT_THAT(GetCauses(findings), ElementsAre("filter", "filter"));
   EXPECT_EQ(
      "The host's firewall, of ufw, doesn't let guests of tvnet8 out by eth0: chain FORWARD of "
      "table ip filter drops it.",
      findings[0].text);
   EXPECT_EQ("ufw route allow in on tvnet8", findings[0].remedy);
   EXPECT_EQ("ufw route allow out on tvnet8", findings[1].remedy);
   // What these make of it.
   GetHost().Command("nft add rule ip filter ufw-user-forward iifname tvnet8 accept");
   GetHost().Command("nft add rule ip filter ufw-user-forward oifname tvnet8 accept");
   EXPECT_THAT(GetCauses(Examine()), IsEmpty());
   EXPECT_TRUE(GuestGetsOut());
   GetHost().Command("nft delete table ip filter");
}

// Its policy, without the chain that it keeps for others and in which our rules would stand.
TEST_F(DoctorTest, DockersPolicyIsMendedByItsLines)
{
   StartWithGuest();
   try {
      GetHost().Command("iptables-nft -N DOCKER");
      GetHost().Command("iptables-nft -P FORWARD DROP");
   } catch (std::exception const& error) {
      GetHost().Command("nft flush ruleset");
      GTEST_SKIP() << error.what();
   }
   EXPECT_FALSE(GuestGetsOut(silence));
   auto const findings = Examine();
   ASSERT_THAT(GetCauses(findings), ElementsAre("filter", "filter"));
   EXPECT_THAT(findings[0].text, testing::StartsWith("The host's firewall, of Docker, doesn't "));
   for (auto const& finding : findings) {
      ASSERT_THAT(finding.remedy, testing::StartsWith("iptables -I FORWARD "));
      // Where Debian's alternative isn't this one, neither is Docker's.
      Follow("iptables-nft" + finding.remedy.substr(std::string("iptables").size()));
   }
   EXPECT_THAT(GetCauses(Examine()), IsEmpty());
   EXPECT_TRUE(GuestGetsOut());
   GetHost().Command("nft delete table ip filter");
}

TEST_F(DoctorTest, FirewalldIsNamedWithItsZone)
{
   StartWithGuest();
   try {
      GetHost().Command("nft -f " PEER_RULES_DIR "/firewalld.nft");
   } catch (std::exception const& error) {
      GTEST_SKIP() << error.what();
   }
   EXPECT_FALSE(GuestGetsOut(silence));
   auto const findings = Examine();
   ASSERT_FALSE(findings.empty());
   for (auto const& finding : findings) {
      EXPECT_EQ("filter", finding.cause);
      EXPECT_THAT(finding.text, testing::StartsWith("The host's firewall, of firewalld, doesn't "));
      EXPECT_EQ("firewall-cmd --permanent --zone=trusted --change-interface=tvnet8 && firewall-cmd "
                "--reload",
                finding.remedy);
   }
   // What firewalld makes of that.
   for (auto const* rule : {"filter_INPUT_ZONES iifname tvnet8 goto filter_IN_trusted",
                            "filter_FORWARD_ZONES iifname tvnet8 goto filter_FWD_trusted"}) {
      GetHost().Command(std::string("nft insert rule inet firewalld ") + rule);
   }
   EXPECT_THAT(GetCauses(Examine()), IsEmpty());
   EXPECT_TRUE(GuestGetsOut());
   GetHost().Command("nft delete table inet firewalld");
}

TEST_F(DoctorTest, AStoppedNetworkIsStarted)
{
   StartWithGuest();
   RunWell({"stop", "8"});
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("stopped"));
   Mend("stopped");
   EXPECT_TRUE(GuestGetsOut());
}

TEST_F(DoctorTest, AForeignDeviceIsPutOutOfTheWay)
{
   WriteDatabase(GetHosted());
   GetHost().Command("ip link add tvnet8 type bridge");
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("foreign-device"));
   Mend("foreign-device");
   EXPECT_TRUE(HasLink("other-tvnet8"));
   GetHost().Command("ip link del other-tvnet8");
}

TEST_F(DoctorTest, ADeadServerIsStarted)
{
   StartWithGuest();
   // It would start the server again with whatever it looks at next.
   KillWatcher();
   KillServer();
   EXPECT_FALSE(GuestGetsLease(silence));
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("server-dead", "watcher-dead"));
   Mend("server-dead");
   EXPECT_TRUE(GuestGetsLease());
}

TEST_F(DoctorTest, ATakenServerPortIsNamed)
{
   WriteDatabase(GetHosted());
   std::optional<netlab::TcpEcho> other(std::in_place, GetHost(), 53);
   EXPECT_EQ(1, Run({"start", "8"}).status);
   auto const findings = Examine();
   ASSERT_THAT(GetCauses(findings), ElementsAre("port-taken"));
   EXPECT_EQ("The network's dnsmasq doesn't run: TCP port 53 is taken by another server.",
             findings[0].text);
   EXPECT_THAT(Follow(findings[0].remedy), HasSubstr(":53 "));
   other.reset();
   RunWell({"start", "8"});
   EXPECT_THAT(GetCauses(Examine()), IsEmpty());
}

TEST_F(DoctorTest, ATakenForwardIsNamed)
{
   std::optional<netlab::TcpEcho> service(std::in_place, GetHost(), 2222);
   std::optional<netlab::UdpEcho> other(std::in_place, GetHost(), 5353);
   StartWithGuest("[tvnet8 forward tcp 2222]\naddress=192.168.8.200\nport=22\n"
                  "[tvnet8 forward udp 5353]\naddress=192.168.8.200\nport=53\n");
   auto const findings = Examine();
   ASSERT_THAT(GetCauses(findings), ElementsAre("forward-taken", "forward-taken"));
   EXPECT_THAT(Follow(findings[0].remedy), HasSubstr(":2222 "));
   EXPECT_THAT(Follow(findings[1].remedy), HasSubstr(":5353 "));
   service.reset();
   other.reset();
   EXPECT_THAT(GetCauses(Examine()), IsEmpty());
}

TEST_F(DoctorTest, ARouteOfAVpnIsTakenAway)
{
   StartWithGuest();
   netlab::Namespace vpn;
   netlab::Connect(GetHost(), "vpn0", vpn, "eth0");
   GetHost().Command("ip route add 192.168.8.128/25 dev vpn0");
   EXPECT_FALSE(GuestGetsOut(silence));
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("overlap"));
   Mend("overlap");
   EXPECT_TRUE(GuestGetsOut());
   GetHost().Command("ip link del vpn0");
}

TEST_F(DoctorTest, AnAddressOfAVpnIsTakenAway)
{
   WriteDatabase(GetHosted());
   netlab::Namespace vpn;
   netlab::Connect(GetHost(), "vpn0", vpn, "eth0");
   GetHost().AddAddress("vpn0", "192.168.8.77/24");
   EXPECT_EQ(1, Run({"start", "8"}).status);
   EXPECT_THAT(GetCauses(Examine()), testing::Contains("overlap"));
   Mend("overlap");
   EXPECT_TRUE(HasLink("tvnet8"));
   GetHost().Command("ip link del vpn0");
}

TEST_F(DoctorTest, ForwardingIsSwitchedOnAgain)
{
   StartWithGuest();
   // It would switch it on with whatever it looks at next.
   KillWatcher();
   // Only a change is passed on to the devices.
   for (auto const* value : {"1", "0"}) {
      GetHost().Command(
         {"/bin/sh", "-c", std::string("echo ") + value + " > /proc/sys/net/ipv4/ip_forward"});
   }
   EXPECT_FALSE(GuestGetsOut(silence));
   EXPECT_THAT(GetCauses(Examine()),
               ElementsAre("forwarding-off", "forwarding-off", "watcher-dead"));
   Mend("forwarding-off");
   EXPECT_TRUE(GuestGetsOut());
}

TEST_F(DoctorTest, MissingRulesComeBack)
{
   StartWithGuest();
   KillWatcher();
   GetHost().Command("nft delete table inet tavrin-tvnet8");
   EXPECT_FALSE(GuestGetsOut(silence));
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("differs", "watcher-dead"));
   Mend("differs");
   EXPECT_TRUE(GuestGetsOut());
}

TEST_F(DoctorTest, AnAdapterThatIsOffIsSwitchedOn)
{
   WriteDatabase("[adapter eth2]\nnetwork=tvnet2\n");
   RunWell({"start"});
   EXPECT_THAT(GetCauses(Examine("2")), IsEmpty());
   GetHost().Command("ip link set eth2 down");
   EXPECT_THAT(GetCauses(Examine("2")), ElementsAre("no-carrier"));
   Mend("no-carrier", "2");
   Plug(guest, "tap0", "tvnet2");
   guest.AddAddress("eth0", "10.3.0.50/24");
   EXPECT_TRUE(netlab::Ping(guest, "10.3.0.8"));
}

TEST_F(DoctorTest, WithoutADatabaseThatIsTheCause)
{
   fs::remove("/etc/tavrin/networking");
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("database"));
   Mend("database");
   EXPECT_TRUE(HasLink("tvnet8"));
   WriteDatabase("version=99\n");
   EXPECT_THAT(GetCauses(Examine()), ElementsAre("database"));
}

// What no laboratory has is put in the place of /sys.
TEST_F(DoctorTest, WifiAndAppArmorAreReadFromTheirFolders)
{
   test::TempDir const sys;
   sys.Write("class/net/eth2/phy80211/name", "phy0");
   sys.Write("kernel/security/apparmor/profiles", "dnsmasq (enforce)\n");
   WriteDatabase(GetHosted() + "[adapter eth2]\nnetwork=tvnet2\n");
   RunWell({"start"});
   KillWatcher();
   for (int const pid : ListDnsmasqs()) {
      kill(pid, SIGKILL);
   }
   ASSERT_TRUE(test::Eventually([] { return ListDnsmasqs().empty(); }));
   SystemRoots roots;
   roots.sys = sys.GetPath();
   Settings settings;
   settings.adapters["eth2"] = 2;
   auto& network = settings.networks[8];
   network.subnetAddress = Address::Parse("192.168.8.0");
   network.subnetMask = Address::Parse("255.255.255.0");
   network.useAdapter = network.useDhcp = network.useNat = true;
   auto const examination = doctor::Examine({}, roots, settings, {2, 8});
   EXPECT_TRUE(examination.complete);
   EXPECT_THAT(GetCauses(examination.findings), ElementsAre("wifi", "apparmor", "watcher-dead"));
}

TEST_F(DoctorTest, WithoutRightsOneSeesWhatAnybodyMay)
{
   StartWithGuest();
   netlab::Namespace vpn;
   netlab::Connect(GetHost(), "vpn0", vpn, "eth0");
   GetHost().Command("ip route add 192.168.8.128/25 dev vpn0");
   auto const outcome = RunWithoutRights({"doctor", "8"});
   EXPECT_EQ(found, outcome.status);
   EXPECT_THAT(outcome.output, HasSubstr("Root sees more"));
   EXPECT_THAT(outcome.output, HasSubstr("tvnet8: overlap\n  vpn0 leads to 192.168.8.128/25, "));
   EXPECT_THAT(outcome.output,
               HasSubstr("\n  ip route del 192.168.8.128/25 dev vpn0 && tavrin-vnets start "
                         "tvnet8\n"));
   GetHost().Command("ip link del vpn0");
}

} // namespace

} // namespace vnet::doctor
