// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/realNetwork.hh"
#include "support/netlab/endpoint.hh"
#include "support/netlab/packetPort.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>

namespace vnet::services {

namespace {

using netlab::AskTcp;
using netlab::AskUdp;
using netlab::Bytes;
using netlab::Ping;
using netlab::silence;

void Append(Bytes& bytes, Bytes const& more)
{
   bytes.insert(bytes.end(), more.begin(), more.end());
}

// RFC 8415, 16.2: a solicitation with our identifier (1: by link-layer address) and a request for
// an address (3).
Bytes MakeSolicit(vnet::host::MacAddress const& mac)
{
   Bytes message{1, 0x11, 0x22, 0x33, 0, 1, 0, 10, 0, 3, 0, 1};
   Append(message, Bytes(mac.bytes.begin(), mac.bytes.end()));
   Append(message, {0, 8, 0, 2, 0, 0});
   Append(message, {0, 3, 0, 12, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0});
   return message;
}

// The address (option 5) within the answer (2: advertise), as text.
std::string FindAddress(Bytes const& answer)
{
   Bytes const head{0, 5, 0, 24};
   auto const found = std::search(answer.begin(), answer.end(), head.begin(), head.end());
   if (answer.empty() || answer[0] != 2 || answer.end() - found < 20) {
      return "";
   }
   char text[INET6_ADDRSTRLEN];
   return inet_ntop(AF_INET6, &*found + 4, text, sizeof text);
}

class Ipv6TrafficTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      auto& network = AddNat(8, "192.168.8.0");
      network.nat.enableIpv6 = true;
      network.nat.ipv6Prefix = Prefix6::Parse("fd00:1:2:3::/64");
   }

   // One that makes itself an address and takes the router that is advertised.
   Guest& AddAutonomous()
   {
      auto& guest = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
      EXPECT_TRUE(test::Eventually([&guest] { return !GetOwn(guest).empty(); }));
      EXPECT_TRUE(WaitForRouter(guest));
      return guest;
   }

   static bool WaitForRouter(Guest const& guest)
   {
      return test::Eventually([&guest] {
         return guest.place.Command("ip -6 route").find("default") != std::string::npos;
      });
   }

   static std::string GetOwn(Guest const& guest)
   {
      auto const text = guest.place.Command("ip -6 -o addr show dev eth0 scope global");
      auto const begin = text.find("fd00:1:2:3:");
      return begin == std::string::npos ? "" : text.substr(begin, text.find('/', begin) - begin);
   }

   static std::string Solicit(Guest const& guest)
   {
      auto const request = MakeSolicit(guest.place.GetMac("eth0"));
      auto const socket = netlab::OpenBound(guest.place, SOCK_DGRAM, 546);
      auto const to = guest.place.Run([] {
         return netlab::MakeSocketAddress({"ff02::1:2%eth0", 547});
      });
      Bytes answer(2048);
      ssize_t length = 0;
      for (int attempt = 0; attempt < 20 && length <= 0; ++attempt) {
         sendto(socket.Get(), request.data(), request.size(), 0, to.Get(), to.length);
         pollfd watched{socket.Get(), POLLIN, 0};
         if (poll(&watched, 1, 500) == 1) {
            length = recv(socket.Get(), answer.data(), answer.size(), 0);
         }
      }
      answer.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
      return FindAddress(answer);
   }
};

TEST_F(Ipv6TrafficTest, AGuestMakesItselfAnAddressAndReachesTheOutsideAsTheHost)
{
   Make(8);
   auto& guest = AddAutonomous();
   netlab::TcpEcho const tcp(outside, 7);
   netlab::UdpEcho const udp(outside, 7);
   EXPECT_EQ("text", AskTcp(guest.place, {"2001:db8::2", 7}, "text"));
   EXPECT_EQ("text", AskUdp(guest.place, {"2001:db8::2", 7}, "text"));
   EXPECT_TRUE(Ping(guest.place, "2001:db8::2"));
   EXPECT_EQ("2001:db8::1", tcp.GetPeers().at(0).address);
   EXPECT_EQ("2001:db8::1", udp.GetPeers().at(0).address);
   EXPECT_TRUE(Ping(guest.place, "fd00:1:2:3::1"));
   EXPECT_TRUE(Ping(guest.place, "fd00:1:2:3::2"));
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "fd00:1:2:3::2", "outside.test"));
}

TEST_F(Ipv6TrafficTest, AGuestIsGivenAnAddressIfItAsks)
{
   Make(8);
   auto& guest = AddAutonomous();
   auto const address = Solicit(guest);
   ASSERT_EQ(0u, address.find("fd00:1:2:3::")) << address;
   EXPECT_NE(GetOwn(guest), address);
}

TEST_F(Ipv6TrafficTest, AllOfItWorksWithoutAHostAdapter)
{
   Get(8).useAdapter = false;
   Make(8);
   auto& guest = AddAutonomous();
   netlab::TcpEcho const far(outside, 7);
   netlab::TcpEcho const service(GetHost(), 22);
   netlab::TcpEcho const own(guest.place, 22);
   EXPECT_EQ("text", AskTcp(guest.place, {"2001:db8::2", 7}, "text"));
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "fd00:1:2:3::2", "outside.test"));
   EXPECT_TRUE(Ping(guest.place, "fd00:1:2:3::2"));
   EXPECT_EQ(0u, Solicit(guest).find("fd00:1:2:3::"));
   for (auto const* address : {"fd00:1:2:3::1", "fd00:1:2:3::2", "2001:db8::1"}) {
      EXPECT_FALSE(AskTcp(guest.place, {address, 22}, "text", silence)) << address;
   }
   EXPECT_FALSE(AskTcp(GetHost(), {GetOwn(guest), 22}, "text", silence));
   EXPECT_FALSE(Ping(GetHost(), GetOwn(guest), silence));
}

TEST_F(Ipv6TrafficTest, TheOutsideReachesNoGuest)
{
   Make(8);
   auto& guest = AddAutonomous();
   netlab::TcpEcho const echo(guest.place, 22);
   netlab::TcpEcho const service(GetHost(), 23);
   outside.Command("ip -6 route add fd00:1:2:3::/64 via 2001:db8::1");
   EXPECT_FALSE(Ping(outside, GetOwn(guest), silence));
   EXPECT_FALSE(AskTcp(outside, {GetOwn(guest), 22}, "text", silence));
   EXPECT_FALSE(AskTcp(outside, {"fd00:1:2:3::1", 23}, "text", silence));
}

TEST_F(Ipv6TrafficTest, NetworksDoNotReachEachOther)
{
   auto& other = AddNat(9, "192.168.9.0");
   other.nat.enableIpv6 = true;
   other.nat.ipv6Prefix = Prefix6::Parse("fd00:9::/64");
   Make(8);
   Make(9);
   auto& guest = AddAutonomous();
   auto& target = AddGuest(9, "192.168.9.10/24", "192.168.9.2");
   target.place.Command("ip addr add fd00:9::10/64 dev eth0 nodad");
   netlab::TcpEcho const echo(target.place, 22);
   EXPECT_EQ("text", AskTcp(GetHost(), {"fd00:9::10", 22}, "text"));
   EXPECT_FALSE(AskTcp(guest.place, {"fd00:9::10", 22}, "text", silence));
   EXPECT_FALSE(Ping(guest.place, "fd00:9::1", silence));
}

TEST_F(Ipv6TrafficTest, ALongPrefixIsLeasedOnly)
{
   Get(8).nat.ipv6Prefix = Prefix6::Parse("fd00:1:2:3::/120");
   Make(8);
   auto& guest = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   auto const address = Solicit(guest);
   ASSERT_EQ(0u, address.find("fd00:1:2:3::")) << address;
   EXPECT_EQ("", GetOwn(guest));
   guest.place.Command("ip addr add " + address + "/120 dev eth0 nodad");
   EXPECT_TRUE(WaitForRouter(guest));
   netlab::TcpEcho const echo(outside, 7);
   EXPECT_EQ("text", AskTcp(guest.place, {"2001:db8::2", 7}, "text"));
}

TEST_F(Ipv6TrafficTest, WithoutDhcpTheRouterAdvertisesAllTheSame)
{
   Get(8).useDhcp = false;
   Make(8);
   auto& guest = AddAutonomous();
   netlab::TcpEcho const echo(outside, 7);
   EXPECT_EQ("text", AskTcp(guest.place, {"2001:db8::2", 7}, "text"));
}

TEST_F(Ipv6TrafficTest, AGuestsAdvertisementsMakeTheHostNoRouteAndNoAddress)
{
   Make(8);
   auto& guest = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   guest.place.Command("ip addr add fd00:bad::1/64 dev eth0 nodad");
   guest.place.Command(std::vector<std::string>{
      "dnsmasq", "--conf-file=/dev/null", "--pid-file=/run/rogue.pid", "--port=0",
      "--interface=eth0", "--bind-interfaces", "--enable-ra", "--dhcp-range=fd00:bad::,ra-only,64",
      "--dhcp-leasefile=/run/rogue.leases", "--user=" + GetFacts().dnsmasqUser,
      "--group=" + GetFacts().dnsmasqGroup});
   netlab::PacketPort const port(GetHost(), "tvnet8");
   // A router advertisement: ICMPv6 (58) of type 134.
   EXPECT_TRUE(port.WaitFor([](netlab::Frame const& frame) {
      return frame.type == 0x86dd && frame.payload.size() > 40 && frame.payload[6] == 58 &&
             frame.payload[40] == 134;
   }));
   EXPECT_EQ(std::string::npos, GetHost().Command("ip -6 addr").find("fd00:bad:"));
   EXPECT_EQ(std::string::npos, GetHost().Command("ip -6 route").find("fd00:bad:"));
   int pid = 0;
   ASSERT_TRUE(std::ifstream("/run/rogue.pid") >> pid);
   kill(pid, SIGKILL);
}

// The host learned its router from advertisements, as most do.
class AdvertisedHostTest : public Ipv6TrafficTest, public testing::WithParamInterface<bool> {
protected:
   void SetUp() override
   {
      Ipv6TrafficTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      if (GetParam() && !GetFacts().forwardsIpv6ByDevice) {
         GTEST_SKIP() << "this kernel forwards IPv6 for all devices or none";
      }
      GetFacts().forwardsIpv6ByDevice = GetParam();
      GetHost().Command("ip -6 route del default");
      outside.Run([] { std::ofstream("/proc/sys/net/ipv6/conf/all/forwarding") << 1; });
      outside.Command(std::vector<std::string>{
         "dnsmasq", "--conf-file=/dev/null", "--pid-file=/run/router.pid", "--port=0",
         "--interface=eth0", "--bind-interfaces", "--enable-ra",
         "--dhcp-range=2001:db8::,ra-only,64", "--dhcp-leasefile=/run/router.leases",
         "--user=" + GetFacts().dnsmasqUser, "--group=" + GetFacts().dnsmasqGroup});
      ASSERT_TRUE(test::Eventually([this] { return HasDefault(); }));
   }

   void TearDown() override
   {
      int pid = 0;
      if (std::ifstream("/run/router.pid") >> pid) {
         kill(pid, SIGKILL);
      }
      Ipv6TrafficTest::TearDown();
   }

   bool HasDefault()
   {
      auto const routes = GetHost().Command("ip -6 route show default");
      return routes.find("proto ra") != std::string::npos;
   }
};

TEST_P(AdvertisedHostTest, KeepsItsRouter)
{
   Make(8);
   EXPECT_TRUE(HasDefault());
   auto& guest = AddAutonomous();
   netlab::TcpEcho const echo(outside, 7);
   // Neighbours find each other in their own time, and give up early on a busy machine.
   EXPECT_TRUE(test::Eventually([&guest] {
      return AskTcp(guest.place, {"2001:db8::2", 7}, "text") == "text";
   }));
   // And hears of it again.
   GetHost().Command("ip -6 route del default");
   ASSERT_FALSE(HasDefault());
   GetHost().Command("ip link set eth0 down");
   GetHost().Command("ip link set eth0 up");
   EXPECT_TRUE(test::Eventually([this] { return HasDefault(); }));
}

INSTANTIATE_TEST_SUITE_P(ByDeviceOrAll, AdvertisedHostTest, testing::Bool());

} // namespace

} // namespace vnet::services
