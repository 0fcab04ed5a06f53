// SPDX-License-Identifier: GPL-2.0-or-later
// What flows live through.
#include "lib/vnet/services/realNetwork.hh"
#include "support/netlab/packetPort.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"
#include "vnet/host/conntrack.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <unistd.h>

namespace vnet::services {

namespace {

using netlab::AskTcp;
using netlab::silence;

constexpr std::uint64_t piece = 1 << 20; // bytes

class LastingTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      AddNat(8, "192.168.8.0");
      Make(8);
      guest = &AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   }

   // The seconds for which the kernel remembers a UDP flow to this port of the outside.
   std::uint32_t GetTimeout(std::uint16_t port) const
   {
      std::uint32_t timeout = 0;
      for (auto const& flow : host::Conntrack().List(AF_INET)) {
         if (flow.protocol == IPPROTO_UDP && flow.original.destinationPort == port) {
            timeout = flow.timeout;
         }
      }
      return timeout;
   }

   Guest* guest = nullptr;
};

TEST_F(LastingTest, ReplacingTheRulesCostsNoPacket)
{
   netlab::UdpEcho const echo(outside, 7);
   netlab::UdpFlow flow(guest->place, {"198.51.100.2", 7}, 1);
   ASSERT_TRUE(flow.WaitForMore(20));
   for (int round = 0; round < 50; ++round) {
      auto& forwards = Get(8).nat.forwards;
      forwards.push_back(
         {true, static_cast<std::uint16_t>(5000 + round), *Address::Parse("192.168.8.10"), 80, ""});
      Make(8);
   }
   ASSERT_TRUE(flow.WaitForMore(20));
   EXPECT_EQ(0u, flow.Finish().GetLost());
   EXPECT_EQ(1u, echo.GetPeers().size()) << "the translation of the flow stays";
}

TEST_F(LastingTest, AParkedNetworkCutsNoDownload)
{
   netlab::TcpSource const source(outside, 7);
   netlab::TcpDownload const download(guest->place, {"198.51.100.2", 7});
   ASSERT_TRUE(download.WaitForMore(piece));
   Park(8);
   EXPECT_FALSE(download.WaitForMore(piece * 16, silence)) << "nothing passes";
   EXPECT_FALSE(netlab::Ping(guest->place, "198.51.100.2", silence));
   Make(8);
   EXPECT_TRUE(download.WaitForMore(piece));
   EXPECT_FALSE(download.IsCut());
}

TEST_F(LastingTest, AParkedNetworkWithoutAddressesCutsNoDownloadAndShowsNothing)
{
   netlab::TcpSource const source(outside, 7);
   netlab::TcpDownload const download(guest->place, {"198.51.100.2", 7});
   ASSERT_TRUE(download.WaitForMore(piece));
   netlab::PacketPort const wire(outside, "eth0");
   Park(8);
   for (auto const* address : {"192.168.8.2/32", "192.168.8.1/24", "192.168.8.254/32"}) {
      GetHost().Command(std::string("ip addr del ") + address + " dev tvnet8");
   }
   EXPECT_FALSE(download.WaitForMore(piece * 16, silence));
   // A packet of the network that came back out of the host would name a guest: its destination,
   // in the IPv4 header from byte 16 on.
   auto const namesGuest = [](netlab::Frame const& frame) {
      netlab::Bytes const address{192, 168, 8, 10};
      return frame.type == 0x0800 && frame.payload.size() >= 20 &&
             std::equal(address.begin(), address.end(), frame.payload.begin() + 16);
   };
   EXPECT_EQ(0u, wire.Count(namesGuest));
   Make(8);
   EXPECT_TRUE(download.WaitForMore(piece));
   EXPECT_FALSE(download.IsCut());
}

TEST_F(LastingTest, UdpFlowsAreRememberedAsLongAsSet)
{
   Get(8).nat.udpTimeout = 77;
   Get(8).nat.forwards = {{false, 5000, *Address::Parse("192.168.8.10"), 7, ""}};
   Make(8);
   netlab::UdpEcho const far(outside, 7);
   netlab::UdpEcho const near(guest->place, 7);
   ASSERT_TRUE(netlab::AskUdp(guest->place, {"198.51.100.2", 7}, "text"));
   ASSERT_TRUE(netlab::AskUdp(outside, {"198.51.100.1", 5000}, "text"));
   for (std::uint16_t const port : {7, 5000}) {
      EXPECT_GE(77u, GetTimeout(port)) << port;
      EXPECT_LE(70u, GetTimeout(port)) << port;
   }
}

class FtpTest : public LastingTest {
protected:
   // What a server outside reads after a guest announced port 5001 of its own.
   std::string Announce()
   {
      netlab::TcpServer const server(outside, 21, [](int socket) {
         // Tells what it got after each line, as the client waits for an answer.
         std::string line;
         for (char byte = 0; read(socket, &byte, 1) == 1;) {
            line += byte;
            if (byte == '\n') {
               [[maybe_unused]] auto const told = write(socket, line.data(), line.size());
               line.clear();
            }
         }
      });
      auto const control = netlab::ConnectTcp(guest->place, {"198.51.100.2", 21});
      // The first line is only what shows where lines begin.
      EXPECT_EQ("USER guest\r\n", Tell(*control, "USER guest\r\n"));
      auto const heard = Tell(*control, "PORT 192,168,8,10,19,137\r\n");
      netlab::TcpEcho const data(guest->place, 5001);
      reached = AskTcp(outside, {"198.51.100.1", 5001}, "text", silence).has_value();
      return heard;
   }

   std::string Tell(base::FileDescriptor const& control, std::string const& line)
   {
      EXPECT_EQ(static_cast<ssize_t>(line.size()), write(control.Get(), line.data(), line.size()));
      std::string heard;
      for (char byte = 0; byte != '\n' && read(control.Get(), &byte, 1) == 1;) {
         heard += byte;
      }
      return heard;
   }

   bool reached = false;
};

TEST_F(FtpTest, AnActiveTransferReachesTheGuest)
{
   EXPECT_EQ("PORT 198,51,100,1,19,137\r\n", Announce());
   EXPECT_TRUE(reached);
}

TEST_F(FtpTest, AnActiveTransferIsNotHelpedIfNotAllowed)
{
   Get(8).nat.allowActiveFtp = false;
   Make(8);
   EXPECT_EQ("PORT 192,168,8,10,19,137\r\n", Announce());
   EXPECT_FALSE(reached);
}

} // namespace

} // namespace vnet::services
