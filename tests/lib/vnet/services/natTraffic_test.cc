// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/realNetwork.hh"
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <fstream>
#include <gtest/gtest.h>

namespace vnet::services {

namespace {

using netlab::AskTcp;
using netlab::AskUdp;
using netlab::Ping;
using netlab::silence;

class NatTrafficTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (!IsSkipped()) {
         AddNat(8, "192.168.8.0");
      }
   }

   // Of the guest 192.168.8.10.
   void AddForward(bool tcp, std::uint16_t hostPort, std::uint16_t vmPort)
   {
      Get(8).nat.forwards.push_back({tcp, hostPort, *Address::Parse("192.168.8.10"), vmPort, ""});
   }

   Guest& AddTarget() { return AddGuest(8, "192.168.8.10/24", "192.168.8.2"); }
};

TEST_F(NatTrafficTest, AGuestLearnsAllFromItsLease)
{
   Get(8).mtu = 1400;
   Make(8);
   auto& guest = AddGuest(8);
   auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
   ASSERT_TRUE(lease);
   namespace option = netlab::option;
   EXPECT_EQ("192.168.8.254", lease->GetAddress(option::serverId)->ToString());
   EXPECT_EQ("192.168.8.254", lease->sender.ToString());
   EXPECT_EQ("192.168.8.2", lease->GetAddress(option::router)->ToString());
   EXPECT_EQ("192.168.8.2", lease->GetAddress(option::dnsServer)->ToString());
   EXPECT_EQ("255.255.255.0", lease->GetAddress(option::subnetMask)->ToString());
   EXPECT_EQ("192.168.8.255", lease->GetAddress(option::broadcast)->ToString());
   EXPECT_EQ("tvnet8.internal", lease->GetText(option::domainName));
   EXPECT_EQ(1400u, lease->GetNumber(option::mtu));
   EXPECT_EQ(1800u, lease->GetNumber(option::leaseTime));
   EXPECT_FALSE(lease->Has(option::netbiosServer));
   EXPECT_GE(lease->address, *Address::Parse("192.168.8.128"));
   EXPECT_LE(lease->address, *Address::Parse("192.168.8.253"));
   EXPECT_EQ(GetHost().GetMac("tvnet8"), lease->senderMac);
}

TEST_F(NatTrafficTest, AGuestReachesTheOutsideAsTheHost)
{
   Make(8);
   auto& guest = AddGuest(8);
   netlab::TcpEcho const tcp(outside, 7);
   netlab::UdpEcho const udp(outside, 7);
   EXPECT_EQ("text", AskTcp(guest.place, {"198.51.100.2", 7}, "text"));
   EXPECT_EQ("text", AskUdp(guest.place, {"198.51.100.2", 7}, "text"));
   EXPECT_TRUE(Ping(guest.place, "198.51.100.2"));
   EXPECT_EQ("198.51.100.1", tcp.GetPeers().at(0).address);
   EXPECT_EQ("198.51.100.1", udp.GetPeers().at(0).address);
}

TEST_F(NatTrafficTest, AGuestResolvesNamesByTheGateway)
{
   Make(8);
   auto& guest = AddGuest(8);
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.2", "outside.test"));
}

TEST_F(NatTrafficTest, TheHostsNameserversAreAskedInTheirOrder)
{
   outside.AddAddress("eth0", "198.51.100.3/24");
   AddResolver("198.51.100.3", "203.0.113.8");
   GetFacts().nameservers = {"198.51.100.2", "198.51.100.3"};
   Make(8);
   auto& guest = AddGuest(8);
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.2", "outside.test"));

   GetFacts().nameservers = {"198.51.100.3", "198.51.100.2"};
   Make(8);
   EXPECT_TRUE(test::Eventually(
      [&guest] { return Resolve(guest.place, "192.168.8.2", "outside.test") == "203.0.113.8"; }));
   GetFacts().nameservers = {"198.51.100.2"};
   Make(8);
   EXPECT_TRUE(test::Eventually(
      [&guest] { return Resolve(guest.place, "192.168.8.2", "outside.test") == "203.0.113.7"; }));
}

TEST_F(NatTrafficTest, TheGatewayAnswersPing)
{
   Make(8);
   auto& guest = AddGuest(8);
   EXPECT_TRUE(Ping(guest.place, "192.168.8.2"));
   EXPECT_TRUE(Ping(guest.place, "192.168.8.1"));
   EXPECT_TRUE(Ping(GetHost(), "192.168.8.2"));
}

TEST_F(NatTrafficTest, ForwardsAreReachedFromEverywhere)
{
   AddForward(true, 8080, 80);
   AddForward(false, 5353, 53);
   Make(8);
   auto& target = AddTarget();
   auto& other = AddGuest(8);
   netlab::TcpEcho const tcp(target.place, 80);
   netlab::UdpEcho const udp(target.place, 53);
   auto const works = [](netlab::Namespace const& place, std::string const& address) {
      return AskTcp(place, {address, 8080}, "text") == "text" &&
             AskUdp(place, {address, 5353}, "text") == "text";
   };
   EXPECT_TRUE(works(outside, "198.51.100.1"));
   EXPECT_EQ("198.51.100.2", tcp.GetPeers().back().address) << "as who it is";
   EXPECT_TRUE(works(GetHost(), "198.51.100.1"));
   EXPECT_TRUE(works(GetHost(), "127.0.0.1"));
   EXPECT_TRUE(works(GetHost(), "192.168.8.1"));
   EXPECT_TRUE(works(GetHost(), "192.168.8.2"));
   EXPECT_TRUE(works(other.place, "198.51.100.1"));
   EXPECT_TRUE(works(other.place, "192.168.8.1"));
   EXPECT_TRUE(works(other.place, "192.168.8.2"));
   EXPECT_EQ("192.168.8.2", tcp.GetPeers().back().address) << "answers have to come back";

   // Where the rules of IP see what a bridge passes, the kernel makes a way through the bridge of
   // the one through the host, and a bridge never sends a frame back to the port it came from.
   GetHost().Run([] { std::ofstream("/proc/sys/net/bridge/bridge-nf-call-iptables") << 0; });
   EXPECT_TRUE(works(target.place, "198.51.100.1"));
   EXPECT_TRUE(works(target.place, "192.168.8.2"));
   EXPECT_TRUE(works(other.place, "198.51.100.1"));
}

TEST_F(NatTrafficTest, TheOutsideReachesNoGuestWithoutAForward)
{
   AddForward(true, 8080, 80);
   Make(8);
   auto& target = AddTarget();
   netlab::TcpEcho const echo(target.place, 80);
   netlab::TcpEcho const hosts(GetHost(), 22);
   outside.Command("ip route add 192.168.8.0/24 via 198.51.100.1");
   EXPECT_FALSE(Ping(outside, "192.168.8.10", silence));
   EXPECT_FALSE(AskTcp(outside, {"192.168.8.10", 80}, "text", silence));
   EXPECT_FALSE(Ping(outside, "192.168.8.2", silence));
   EXPECT_FALSE(AskTcp(outside, {"192.168.8.1", 22}, "text", silence));
   EXPECT_FALSE(AskTcp(outside, {"192.168.8.2", 8080}, "text", silence));
   EXPECT_EQ("text", AskTcp(outside, {"198.51.100.1", 8080}, "text"));
}

TEST_F(NatTrafficTest, TheHostsLoopbackNetworkIsNotForGuests)
{
   AddForward(true, 8080, 80);
   Make(8);
   auto& guest = AddTarget();
   netlab::TcpEcho const service(GetHost(), 631);
   // A guest can send what its own kernel wouldn't.
   guest.place.Run([] {
      std::ofstream("/proc/sys/net/ipv4/conf/eth0/route_localnet") << 1;
      std::ofstream("/proc/sys/net/ipv4/conf/all/rp_filter") << 0;
   });
   guest.place.Command("ip addr del 127.0.0.1/8 dev lo");
   guest.place.Command("ip route add 127.0.0.1/32 via 192.168.8.2");
   EXPECT_FALSE(AskTcp(guest.place, {"127.0.0.1", 631}, "text", silence));
   EXPECT_FALSE(AskTcp(guest.place, {"127.0.0.1", 8080}, "text", silence));
   EXPECT_EQ("text", AskTcp(guest.place, {"192.168.8.1", 631}, "text")) << "an open service";
}

TEST_F(NatTrafficTest, AForwardIsNoObstacleToDhcpAndDns)
{
   for (auto const port : {53, 67}) {
      AddForward(false, static_cast<std::uint16_t>(port), 9);
   }
   AddForward(true, 53, 9);
   Make(8);
   auto& guest = AddGuest(8);
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.2", "outside.test"));
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.254", "outside.test"));
}

TEST_F(NatTrafficTest, AForwardToWhatIsNoGuestIsLeftOut)
{
   AddForward(true, 8080, 80);
   for (auto const* address : {"198.51.100.2", "192.168.8.1", "192.168.8.2", "192.168.8.254",
                               "192.168.8.0", "192.168.8.255"}) {
      Get(8).nat.forwards.push_back({true, 9000, *Address::Parse(address), 7, ""});
   }
   auto const wanted = Make(8);
   EXPECT_EQ(1u, wanted.forwards.size());
   EXPECT_EQ(6u, wanted.remarks.size());
   netlab::TcpEcho const echo(outside, 7);
   EXPECT_FALSE(AskTcp(outside, {"198.51.100.1", 9000}, "text", silence));
}

TEST_F(NatTrafficTest, GuestsOfOneNetworkMeetWhateverTheRules)
{
   Make(8);
   auto& one = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   auto& other = AddGuest(8, "192.168.8.11/24", "192.168.8.2");
   netlab::TcpEcho const echo(other.place, 7);
   EXPECT_EQ("text", AskTcp(one.place, {"192.168.8.11", 7}, "text"));
   Park(8);
   EXPECT_EQ("text", AskTcp(one.place, {"192.168.8.11", 7}, "text"));
}

TEST_F(NatTrafficTest, AGuestThatPretendsToBeElsewhereReachesNobody)
{
   Make(8);
   auto& guest = AddGuest(8, "10.9.9.9/24", "10.9.9.1");
   guest.place.Command("ip route replace default via 192.168.8.2 dev eth0 onlink");
   outside.Command("ip route add 10.9.9.0/24 via 198.51.100.1");
   GetHost().Command("ip route add 10.9.9.0/24 dev tvnet8");
   netlab::UdpEcho const echo(outside, 7);
   EXPECT_FALSE(AskUdp(guest.place, {"198.51.100.2", 7}, "text", silence));
   EXPECT_EQ(0u, echo.GetCount());
}

TEST_F(NatTrafficTest, ForeignManufacturersAreRefusedIfAsked)
{
   Get(8).nat.allowAnyOui = false;
   Make(8);
   auto& accepted = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   auto& foreign = AddGuest(8, "192.168.8.11/24", "192.168.8.2");
   accepted.place.Command("ip link set eth0 address 52:54:00:01:02:03");
   foreign.place.Command("ip link set eth0 address 00:11:22:01:02:03");
   for (auto* guest : {&accepted, &foreign}) {
      guest->place.Command("ip route replace default via 192.168.8.2");
   }
   netlab::TcpEcho const echo(outside, 7);
   EXPECT_EQ("text", AskTcp(accepted.place, {"198.51.100.2", 7}, "text"));
   EXPECT_FALSE(AskTcp(foreign.place, {"198.51.100.2", 7}, "text", silence));
   EXPECT_TRUE(netlab::DhcpClient(accepted.place, "eth0").Acquire());
   EXPECT_FALSE(netlab::DhcpClient(foreign.place, "eth0").Acquire(silence));
}

} // namespace

} // namespace vnet::services
