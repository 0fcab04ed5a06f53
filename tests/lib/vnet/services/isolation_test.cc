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

// Networks 8 and 9 have NAT, 1 is host-only, 0 bridged. Each hosted one has a guest of number 10.
class IsolationTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      AddNat(8, "192.168.8.0");
      AddNat(9, "192.168.9.0").nat.forwards = {{true, 9080, *Address::Parse("192.168.9.10"), 7, ""},
                                               {false, 53, *Address::Parse("192.168.9.10"), 7, ""}};
      AddHostOnly(1, "192.168.1.0");
      GetSettings().networks[0] = {};
      // A host that forwards for all has no isolation of its own.
      GetHost().Run([] { std::ofstream("/proc/sys/net/ipv4/ip_forward") << 1; });
      for (unsigned int const index : {0, 1, 8, 9}) {
         Make(index);
      }
      nat = &AddGuest(8, "192.168.8.10/24", "192.168.8.2");
      other = &AddGuest(9, "192.168.9.10/24", "192.168.9.2");
      alone = &AddGuest(1, "192.168.1.10/24", "192.168.1.1");
   }

   Guest* nat = nullptr;
   Guest* other = nullptr;
   Guest* alone = nullptr;
};

TEST_F(IsolationTest, NetworksDoNotReachEachOther)
{
   netlab::TcpEcho const first(nat->place, 7);
   netlab::TcpEcho const second(other->place, 7);
   netlab::TcpEcho const third(alone->place, 7);
   for (auto* guest : {nat, other, alone}) {
      for (auto const* address : {"192.168.8.10", "192.168.9.10", "192.168.1.10"}) {
         bool const own = AskTcp(guest->place, {address, 7}, "text", silence).has_value();
         bool const self = guest->place.Command("ip -4 -o addr").find(address) != std::string::npos;
         EXPECT_EQ(self, own) << address;
      }
   }
}

TEST_F(IsolationTest, TheHostsAddressInAnotherNetworkIsOutOfReach)
{
   netlab::TcpEcho const service(GetHost(), 22);
   for (auto* guest : {nat, other}) {
      EXPECT_FALSE(AskTcp(guest->place, {"192.168.1.1", 22}, "text", silence));
   }
   EXPECT_FALSE(AskTcp(nat->place, {"192.168.9.1", 22}, "text", silence));
   EXPECT_FALSE(AskTcp(nat->place, {"192.168.9.2", 9080}, "text", silence));
   EXPECT_EQ("text", AskTcp(nat->place, {"192.168.8.1", 22}, "text"));
   EXPECT_EQ("text", AskTcp(nat->place, {"198.51.100.1", 22}, "text"));
}

TEST_F(IsolationTest, WhatANetworkPublishesIsForTheOthersWithAWayOut)
{
   netlab::TcpEcho const echo(other->place, 7);
   EXPECT_EQ("text", AskTcp(nat->place, {"198.51.100.1", 9080}, "text"));
   EXPECT_EQ("text", AskTcp(outside, {"198.51.100.1", 9080}, "text"));
   EXPECT_FALSE(AskTcp(alone->place, {"198.51.100.1", 9080}, "text", silence));
}

// Network 9 forwards UDP port 53.
TEST_F(IsolationTest, AForwardOfAnotherNetworkTakesNothingFromAGatewaysServices)
{
   EXPECT_EQ("203.0.113.7", Resolve(nat->place, "192.168.8.2", "outside.test"));
   EXPECT_EQ("203.0.113.7", Resolve(other->place, "192.168.9.2", "outside.test"));
}

TEST_F(IsolationTest, AHostOnlyNetworkMeetsTheHostAndNobodyElse)
{
   netlab::TcpEcho const service(GetHost(), 22);
   netlab::TcpEcho const far(outside, 7);
   netlab::UdpEcho const names(outside, 5300);
   EXPECT_TRUE(Ping(alone->place, "192.168.1.1"));
   EXPECT_TRUE(Ping(GetHost(), "192.168.1.10"));
   EXPECT_EQ("text", AskTcp(alone->place, {"192.168.1.1", 22}, "text"));
   EXPECT_FALSE(AskTcp(alone->place, {"198.51.100.1", 22}, "text", silence));
   EXPECT_FALSE(AskTcp(alone->place, {"198.51.100.2", 7}, "text", silence));
   EXPECT_FALSE(AskUdp(alone->place, {"198.51.100.2", 5300}, "text", silence));
   EXPECT_FALSE(Ping(alone->place, "198.51.100.2", silence));
   EXPECT_FALSE(Resolve(alone->place, "192.168.1.1", "outside.test", silence));
   EXPECT_FALSE(Resolve(alone->place, "192.168.1.254", "outside.test", silence));
}

TEST_F(IsolationTest, AHostOnlyLeaseNamesNeitherRouterNorResolver)
{
   auto const lease = netlab::DhcpClient(alone->place, "eth0").Acquire();
   ASSERT_TRUE(lease);
   namespace option = netlab::option;
   EXPECT_FALSE(lease->Has(option::router));
   EXPECT_FALSE(lease->Has(option::dnsServer));
   EXPECT_FALSE(lease->Has(option::domainName));
   EXPECT_EQ("192.168.1.254", lease->GetAddress(option::serverId)->ToString());
   EXPECT_EQ("192.168.1.254", lease->sender.ToString());
}

// It stays so when what the save writes for a NAT network is still in the database.
TEST_F(IsolationTest, AHostOnlyLeaseIgnoresTheRouterOfAnEarlierLife)
{
   auto const old = Address::Parse("192.168.1.5");
   Get(1).nat.gateway = old;
   Get(1).dhcp.router = Get(1).dhcp.dnsServer = Get(1).dhcp.netbiosServer = old;
   Make(1);
   auto const lease = netlab::DhcpClient(alone->place, "eth0").Acquire();
   ASSERT_TRUE(lease);
   EXPECT_FALSE(lease->Has(netlab::option::router));
   EXPECT_FALSE(lease->Has(netlab::option::dnsServer));
   EXPECT_FALSE(lease->Has(netlab::option::netbiosServer));
}

TEST_F(IsolationTest, TheOutsideReachesNoHostOnlyNetwork)
{
   netlab::TcpEcho const echo(alone->place, 7);
   outside.Command("ip route add 192.168.1.0/24 via 198.51.100.1");
   EXPECT_FALSE(AskTcp(outside, {"192.168.1.10", 7}, "text", silence));
   EXPECT_FALSE(Ping(outside, "192.168.1.1", silence));
}

TEST_F(IsolationTest, AHostOnlyNetworkWithoutAnythingHasNothingOfTheHost)
{
   Get(1).useAdapter = false;
   Get(1).useDhcp = false;
   auto const wanted = Make(1);
   EXPECT_TRUE(wanted.addresses.empty());
   EXPECT_FALSE(wanted.dnsmasq);
   auto& peer = AddGuest(1, "192.168.1.11/24", "192.168.1.1");
   netlab::TcpEcho const echo(peer.place, 7);
   EXPECT_EQ("text", AskTcp(alone->place, {"192.168.1.11", 7}, "text"));
   // The host's other addresses aren't found by ARP, and aren't there for who knows the bridge.
   alone->place.Command("ip route add 198.51.100.0/24 dev eth0");
   EXPECT_FALSE(Ping(alone->place, "198.51.100.1", silence));
   alone->place.Command("ip neigh replace 198.51.100.1 lladdr 02:74:76:6e:00:01 dev eth0");
   GetHost().Command("ip route add 192.168.1.10/32 dev tvnet1");
   EXPECT_FALSE(Ping(alone->place, "198.51.100.1", silence));
}

TEST_F(IsolationTest, ABridgedNetworkHasNothingOfTheHost)
{
   auto& one = AddGuest(0, "198.51.100.10/24", "198.51.100.2");
   auto& peer = AddGuest(0, "198.51.100.11/24", "198.51.100.2");
   netlab::TcpEcho const echo(peer.place, 7);
   EXPECT_EQ("text", AskTcp(one.place, {"198.51.100.11", 7}, "text"));
   EXPECT_FALSE(Ping(one.place, "198.51.100.1", silence));
   one.place.Command("ip neigh replace 198.51.100.1 lladdr 02:74:76:6e:00:00 dev eth0");
   one.place.Command("ip neigh replace 198.51.100.2 lladdr 02:74:76:6e:00:00 dev eth0");
   GetHost().Command("ip route add 198.51.100.10/32 dev tvnet0");
   EXPECT_FALSE(Ping(one.place, "198.51.100.1", silence));
   EXPECT_FALSE(Ping(one.place, "198.51.100.2", silence));
}

} // namespace

} // namespace vnet::services
