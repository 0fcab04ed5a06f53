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

class AdapterOffTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      auto& network = AddNat(8, "192.168.8.0");
      network.useAdapter = false;
      network.nat.forwards = {{true, 8080, *Address::Parse("192.168.8.10"), 80, ""},
                              {false, 8080, *Address::Parse("192.168.8.10"), 80, ""}};
   }

   Guest& AddTarget() { return AddGuest(8, "192.168.8.10/24", "192.168.8.2"); }
};

TEST_F(AdapterOffTest, AGuestStillHasLeaseNamesAndTheOutside)
{
   Make(8);
   auto& guest = AddGuest(8);
   auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
   ASSERT_TRUE(lease);
   EXPECT_EQ("192.168.8.254", lease->GetAddress(netlab::option::serverId)->ToString());
   EXPECT_EQ("192.168.8.254", lease->sender.ToString());
   netlab::TcpEcho const tcp(outside, 7);
   netlab::UdpEcho const udp(outside, 7);
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.2", "outside.test"));
   EXPECT_EQ("text", AskTcp(guest.place, {"198.51.100.2", 7}, "text"));
   EXPECT_EQ("text", AskUdp(guest.place, {"198.51.100.2", 7}, "text"));
   EXPECT_TRUE(Ping(guest.place, "198.51.100.2"));
   EXPECT_TRUE(Ping(guest.place, "192.168.8.2"));
}

TEST_F(AdapterOffTest, AGuestReachesNothingElseOfTheHost)
{
   Make(8);
   auto& guest = AddTarget();
   netlab::TcpEcho const tcp(GetHost(), 22);
   netlab::UdpEcho const udp(GetHost(), 22);
   for (auto const* address : {"192.168.8.1", "192.168.8.2", "192.168.8.254", "198.51.100.1"}) {
      EXPECT_FALSE(AskTcp(guest.place, {address, 22}, "text", silence)) << address;
      EXPECT_FALSE(AskUdp(guest.place, {address, 22}, "text", silence)) << address;
   }
   EXPECT_FALSE(Ping(guest.place, "192.168.8.1", silence));
   EXPECT_FALSE(Ping(guest.place, "198.51.100.1", silence));
   EXPECT_EQ(0u, udp.GetCount());
   EXPECT_EQ(0u, tcp.GetPeers().size());
}

TEST_F(AdapterOffTest, TheHostReachesNoGuest)
{
   Make(8);
   auto& guest = AddTarget();
   netlab::TcpEcho const tcp(guest.place, 80);
   netlab::UdpEcho const udp(guest.place, 80);
   EXPECT_FALSE(Ping(GetHost(), "192.168.8.10", silence));
   EXPECT_FALSE(AskTcp(GetHost(), {"192.168.8.10", 80}, "text", silence));
   EXPECT_FALSE(AskUdp(GetHost(), {"192.168.8.10", 80}, "text", silence));
   EXPECT_EQ(0u, udp.GetCount());
}

TEST_F(AdapterOffTest, ForwardsGoOn)
{
   Make(8);
   auto& target = AddTarget();
   auto& other = AddGuest(8);
   netlab::TcpEcho const tcp(target.place, 80);
   netlab::UdpEcho const udp(target.place, 80);
   auto const works = [](netlab::Namespace const& place, std::string const& address) {
      return AskTcp(place, {address, 8080}, "text") == "text" &&
             AskUdp(place, {address, 8080}, "text") == "text";
   };
   EXPECT_TRUE(works(outside, "198.51.100.1"));
   EXPECT_TRUE(works(GetHost(), "198.51.100.1"));
   EXPECT_TRUE(works(GetHost(), "127.0.0.1"));
   EXPECT_TRUE(works(GetHost(), "192.168.8.2"));
   EXPECT_TRUE(works(other.place, "198.51.100.1"));
   EXPECT_TRUE(works(other.place, "192.168.8.2"));
}

TEST_F(AdapterOffTest, AGuestLearnsOfASmallerMtuOnTheWay)
{
   Make(8);
   auto& guest = AddTarget();
   GetHost().Command("ip link set eth0 mtu 1300");
   outside.Command("ip link set eth0 mtu 1300");
   netlab::TcpEcho const echo(outside, 7);
   // The answer that tells it may be late, and a lost packet has none.
   EXPECT_TRUE(test::Eventually([&guest] {
      EXPECT_FALSE(Ping(guest.place, "198.51.100.2", silence, 1400));
      return guest.place.Command("ip route get 198.51.100.2").find("mtu 1300") != std::string::npos;
   }));
   std::string const text(100000, 'x');
   EXPECT_EQ(text, AskTcp(guest.place, {"198.51.100.2", 7}, text));
}

TEST_F(AdapterOffTest, AConnectionOfTheHostEndsWithItsAdapter)
{
   Get(8).useAdapter = true;
   Make(8);
   auto& guest = AddTarget();
   netlab::UdpEcho const echo(guest.place, 9);
   netlab::UdpFlow const flow(GetHost(), {"192.168.8.10", 9});
   ASSERT_TRUE(flow.WaitForMore(10));
   Get(8).useAdapter = false;
   Make(8);
   ASSERT_TRUE(flow.WaitForSilence(silence));
   auto const before = echo.GetCount();
   EXPECT_FALSE(flow.WaitForMore(1, silence));
   EXPECT_EQ(before, echo.GetCount());
}

// The address by which dnsmasq calls itself must not depend on what was there first.
TEST_F(AdapterOffTest, TheServerKeepsItsNameWhenTheAdapterComesAndGoes)
{
   Make(8);
   auto& guest = AddTarget();
   for (bool const useAdapter : {true, false, true}) {
      Get(8).useAdapter = useAdapter;
      Make(8);
      auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
      ASSERT_TRUE(lease);
      EXPECT_EQ("192.168.8.254", lease->GetAddress(netlab::option::serverId)->ToString());
      EXPECT_EQ("192.168.8.254", lease->sender.ToString());
      EXPECT_EQ(useAdapter, Ping(guest.place, "192.168.8.1", silence));
   }
   // As who adds what lacks would: the adapter's address is the last.
   GetHost().Command("ip addr del 192.168.8.1/24 dev tvnet8");
   GetHost().Command("ip addr add 192.168.8.1/24 dev tvnet8");
   auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
   EXPECT_EQ("192.168.8.254", lease->GetAddress(netlab::option::serverId)->ToString());
}

TEST_F(AdapterOffTest, AHostOnlyNetworkHasItsLeasesAndNothingElse)
{
   AddHostOnly(1, "192.168.1.0").useAdapter = false;
   Make(1);
   auto& guest = AddGuest(1, "192.168.1.10/24", "192.168.1.254");
   netlab::TcpEcho const service(GetHost(), 22);
   auto const lease = netlab::DhcpClient(guest.place, guest.device).Acquire();
   ASSERT_TRUE(lease);
   EXPECT_EQ("192.168.1.254", lease->GetAddress(netlab::option::serverId)->ToString());
   EXPECT_EQ("192.168.1.254", lease->sender.ToString());
   EXPECT_TRUE(Ping(guest.place, "192.168.1.254"));
   EXPECT_FALSE(AskTcp(guest.place, {"192.168.1.254", 22}, "text", silence));
   EXPECT_FALSE(AskTcp(guest.place, {"198.51.100.1", 22}, "text", silence));
   EXPECT_FALSE(Ping(guest.place, "192.168.1.1", silence));
   EXPECT_FALSE(Ping(GetHost(), "192.168.1.10", silence));
}

} // namespace

} // namespace vnet::services
