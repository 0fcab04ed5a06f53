// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/lab.hh"
#include "support/netlab/packetPort.hh"
#include "support/netlab/ping.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <filesystem>
#include <gtest/gtest.h>

namespace netlab {

namespace {

namespace fs = std::filesystem;

class NetlabTest : public LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      Connect(GetHost(), "eth0", other, "eth0");
      GetHost().AddAddress("eth0", "10.1.0.1/24");
      other.AddAddress("eth0", "10.1.0.2/24");
   }

   Namespace other;
};

TEST_F(NetlabTest, EveryTestGetsAnEmptyHost)
{
   auto const links = GetHost().Command("ip -o link");
   EXPECT_EQ(2, std::count(links.begin(), links.end(), '\n')) << links;
   EXPECT_TRUE(fs::is_empty("/run"));
   EXPECT_TRUE(fs::is_empty("/etc/tavrin"));
   EXPECT_TRUE(fs::is_empty("/var/lib/tavrin"));
   EXPECT_TRUE(fs::exists("/sys/class/net/eth0"));
   GetHost().Command("touch /run/x /etc/tavrin/x /var/lib/tavrin/x");
}

TEST_F(NetlabTest, AFailingCommandTellsWhatItSaid)
{
   try {
      GetHost().Command("ip link show nothing");
      FAIL();
   } catch (std::runtime_error const& error) {
      EXPECT_NE(nullptr, strstr(error.what(), "nothing")) << error.what();
   }
}

TEST_F(NetlabTest, PingTellsWhoIsThere)
{
   EXPECT_TRUE(Ping(GetHost(), "10.1.0.2"));
   EXPECT_FALSE(Ping(GetHost(), "10.1.0.3", silence));
   EXPECT_FALSE(Ping(GetHost(), "192.0.2.1", silence));
   EXPECT_TRUE(Ping(GetHost(), "10.1.0.2", test::patience, 1472));
   EXPECT_FALSE(Ping(GetHost(), "10.1.0.2", silence, 1473));
}

TEST_F(NetlabTest, AUdpFlowCountsWhatIsLost)
{
   UdpEcho const echo(other, 7);
   UdpFlow flow(GetHost(), {"10.1.0.2", 7}, 1);
   ASSERT_TRUE(flow.WaitForMore(100));
   EXPECT_EQ(0u, flow.GetReport().duplicates);
   // Not a link that is down: for that, datagrams may wait in the kernel.
   other.Command("nft add table ip hole; add chain ip hole in "
                 "{ type filter hook input priority 0; policy drop; }");
   auto const before = flow.GetReport();
   test::Eventually([&] { return flow.GetReport().sent >= before.sent + 100; });
   other.Command("nft delete table ip hole");
   ASSERT_TRUE(flow.WaitForMore(100));
   auto const report = flow.Finish();
   EXPECT_GE(report.GetLost(), 100u);
   EXPECT_LT(report.GetLost(), report.sent);
   EXPECT_GE(report.longestGap.count(), 50);
   EXPECT_EQ("10.1.0.1", echo.GetPeers().at(0).address);
}

TEST_F(NetlabTest, AnUndisturbedUdpFlowLosesNothing)
{
   UdpEcho const echo(other, 7);
   UdpFlow flow(GetHost(), {"10.1.0.2", 7}, 1);
   ASSERT_TRUE(flow.WaitForMore(200));
   auto const report = flow.Finish();
   EXPECT_EQ(0u, report.GetLost());
   EXPECT_EQ(0u, report.duplicates);
}

TEST_F(NetlabTest, UdpAsksAndHearsOrDoesNot)
{
   UdpEcho const echo(other, 7);
   EXPECT_EQ("hello", AskUdp(GetHost(), {"10.1.0.2", 7}, "hello"));
   EXPECT_FALSE(AskUdp(GetHost(), {"10.1.0.2", 8}, "hello"));
}

TEST_F(NetlabTest, TcpAsksAndHearsOrDoesNot)
{
   TcpEcho const echo(other, 7);
   EXPECT_EQ("hello", AskTcp(GetHost(), {"10.1.0.2", 7}, "hello"));
   EXPECT_FALSE(AskTcp(GetHost(), {"10.1.0.2", 8}, "hello"));
   ASSERT_EQ(1u, echo.GetPeers().size());
   EXPECT_EQ("10.1.0.1", echo.GetPeers()[0].address);
}

TEST_F(NetlabTest, ADownloadGoesOnUntilItIsCut)
{
   auto source = std::make_unique<TcpSource>(other, 9000);
   TcpDownload const download(GetHost(), {"10.1.0.2", 9000});
   EXPECT_TRUE(download.WaitForMore(1 << 20));
   EXPECT_FALSE(download.IsCut());
   source.reset();
   EXPECT_FALSE(download.WaitForMore(std::uint64_t{1} << 40));
   EXPECT_TRUE(download.IsCut());
}

TEST_F(NetlabTest, APacketPortSeesEveryArrivingFrame)
{
   PacketPort const here(GetHost(), "eth0");
   PacketPort const there(other, "eth0");
   MacAddress const stranger{{2, 0, 0, 0, 0, 9}};
   here.SendText(broadcastMac, "to all");
   here.SendText(there.GetMac(), "to you");
   here.SendText(stranger, "to a stranger");
   here.Send({broadcastMac, here.GetMac(), experimentType, {'v'}, 5, 0, {}});
   EXPECT_TRUE(there.WaitForText("to all"));
   EXPECT_TRUE(there.WaitForText("to you"));
   EXPECT_TRUE(there.WaitForText("to a stranger"));
   EXPECT_TRUE(there.WaitFor([](Frame const& frame) { return frame.vlan == 5; }));
   EXPECT_EQ(1u, there.CountText("to all"));
   EXPECT_EQ(0u, here.CountText("to all"));
}

TEST_F(NetlabTest, ALanJoinsItsHosts)
{
   Lan lan;
   Namespace one, two;
   lan.Plug(one, "eth0");
   lan.Plug(two, "eth0");
   one.AddAddress("eth0", "10.2.0.1/24");
   two.AddAddress("eth0", "10.2.0.2/24");
   EXPECT_TRUE(Ping(one, "10.2.0.2"));
}

TEST_F(NetlabTest, TheDhcpClientGetsALeaseWithItsOptions)
{
   fs::create_directory("/run/dhcp");
   auto server = other.Run([] {
      return test::TestProcess(
         {"dnsmasq", "--keep-in-foreground", "--conf-file=/dev/null", "--port=0", "--user=root",
          "--group=", "--no-ping", "--dhcp-authoritative", "--interface=eth0",
          "--dhcp-range=10.1.0.128,10.1.0.253,255.255.255.0,1h", "--dhcp-option=3,10.1.0.2",
          "--dhcp-option=6,10.1.0.2,10.1.0.3", "--dhcp-option=26,1400",
          "--dhcp-option=15,example.org", "--dhcp-leasefile=/run/dhcp/leases", "--pid-file="});
   });
   DhcpClient client(GetHost(), "eth0");
   auto const lease = client.Acquire();
   ASSERT_TRUE(lease) << server.GetOutput();
   EXPECT_EQ(vnet::Address{0x0a010002}, lease->GetAddress(option::serverId));
   EXPECT_EQ(vnet::Address{0x0a010002}, lease->sender);
   EXPECT_EQ(2u, lease->GetAddresses(option::dnsServer).size());
   EXPECT_EQ(1400u, lease->GetNumber(option::mtu));
   EXPECT_EQ(3600u, lease->GetNumber(option::leaseTime));
   EXPECT_EQ("example.org", lease->GetText(option::domainName));
   EXPECT_FALSE(lease->Has(option::netbiosServer));
   DhcpClient::Configure(GetHost(), "eth0", *lease);
   EXPECT_NE(std::string::npos, GetHost().Command("ip route").find("default via 10.1.0.2"));
}

TEST_F(NetlabTest, TheDhcpClientGivesUpWhereThereIsNoServer)
{
   EXPECT_FALSE(DhcpClient(GetHost(), "eth0").Acquire(silence));
}

} // namespace

} // namespace netlab
