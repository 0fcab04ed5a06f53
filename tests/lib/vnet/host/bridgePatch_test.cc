// SPDX-License-Identifier: GPL-2.0-or-later
// Who hears whom over a patch, in counted frames.
#include "lib/vnet/host/patchTest.hh"

#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <gtest/gtest.h>
#include <netinet/in.h>

namespace vnet::host {

namespace {

using netlab::broadcastMac;
using netlab::Frame;
using netlab::PacketPort;
using netlab::Ping;
using netlab::silence;

class BridgePatchTest : public PatchTest {
protected:
   // Frames that came where they go by the way that `last` takes, which is the slowest, are all
   // there when a later one is.
   void Settle(PacketPort const& from, std::vector<PacketPort const*> const& all)
   {
      from.SendText(broadcastMac, "the end");
      for (auto const* port : all) {
         EXPECT_TRUE(port->WaitForText("the end"));
      }
   }

   // A socket of the host that hears a multicast group on its adapter.
   base::FileDescriptor Join(netlab::SocketAddress const& group)
   {
      auto socket = netlab::OpenSocket(GetHost(), group.storage.ss_family, SOCK_DGRAM);
      group_req request{};
      request.gr_interface = static_cast<std::uint32_t>(links->Require("eth0").index);
      request.gr_group = group.storage;
      EXPECT_EQ(0, bind(socket.Get(), group.Get(), group.length));
      EXPECT_EQ(0, setsockopt(socket.Get(),
                              group.storage.ss_family == AF_INET ? IPPROTO_IP : IPPROTO_IPV6,
                              MCAST_JOIN_GROUP, &request, sizeof request));
      return socket;
   }

   base::FileDescriptor OpenMulticastSender(netlab::SocketAddress const& group)
   {
      auto socket = netlab::OpenSocket(GetHost(), group.storage.ss_family, SOCK_DGRAM);
      bool const four = group.storage.ss_family == AF_INET;
      ip_mreqn by4{};
      by4.imr_ifindex = links->Require("eth0").index;
      EXPECT_EQ(0, four ? setsockopt(socket.Get(), IPPROTO_IP, IP_MULTICAST_IF, &by4, sizeof by4)
                        : setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_MULTICAST_IF,
                                     &by4.imr_ifindex, sizeof by4.imr_ifindex));
      return socket;
   }
};

TEST_F(BridgePatchTest, GuestsHostAndStationReachEachOther)
{
   Attach();
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   EXPECT_TRUE(Ping(guest, "10.3.0.1"));
   EXPECT_TRUE(Ping(guest, "10.3.0.51"));
   EXPECT_TRUE(Ping(station, "10.3.0.50"));
   EXPECT_TRUE(Ping(station, "10.3.0.1"));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50"));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.9"));
}

TEST_F(BridgePatchTest, WithoutAPatchTheGuestIsCutOff)
{
   EXPECT_FALSE(Ping(guest, "10.3.0.9", silence));
   Attach();
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   Detach();
   EXPECT_FALSE(Ping(guest, "10.3.0.9", silence));
}

TEST_F(BridgePatchTest, Ipv6NeighboursFindEachOther)
{
   Attach();
   EXPECT_TRUE(Ping(guest, "fd03::9"));
   EXPECT_TRUE(Ping(guest, "fd03::1"));
   EXPECT_TRUE(Ping(GetHost(), "fd03::50"));
   EXPECT_TRUE(Ping(station, "fd03::50"));
   // The host answers for its link-local address only on the device that has it.
   auto const text = GetHost().Command("ip -6 -o addr show dev eth0 scope link");
   auto const begin = text.find("fe80");
   ASSERT_NE(std::string::npos, begin);
   auto const address = text.substr(begin, text.find('/', begin) - begin);
   EXPECT_TRUE(Ping(guest, address + "%eth0"));
}

TEST_F(BridgePatchTest, AGuestsBroadcastReachesEachOnce)
{
   Attach();
   PacketPort const from(guest, "eth0"), other(otherGuest, "eth0"), there(station, "eth0"),
      host(GetHost(), "eth0");
   from.SendText(broadcastMac, "hello");
   Settle(from, {&other, &there, &host});
   EXPECT_EQ(1u, other.CountText("hello"));
   EXPECT_EQ(1u, there.CountText("hello"));
   EXPECT_EQ(1u, host.CountText("hello"));
   EXPECT_EQ(0u, from.CountText("hello"));
}

TEST_F(BridgePatchTest, AStationsBroadcastReachesEachOnce)
{
   Attach();
   PacketPort const from(station, "eth0"), one(guest, "eth0"), other(otherGuest, "eth0"),
      host(GetHost(), "eth0");
   from.SendText(broadcastMac, "hello");
   Settle(from, {&one, &other, &host});
   EXPECT_EQ(1u, one.CountText("hello"));
   EXPECT_EQ(1u, other.CountText("hello"));
   EXPECT_EQ(1u, host.CountText("hello"));
   EXPECT_EQ(0u, from.CountText("hello"));
}

TEST_F(BridgePatchTest, TheHostsBroadcastReachesEachOnce)
{
   Attach();
   PacketPort const host(GetHost(), "eth0"), one(guest, "eth0"), other(otherGuest, "eth0"),
      there(station, "eth0");
   host.SendText(broadcastMac, "hello");
   Settle(host, {&one, &other, &there});
   EXPECT_EQ(1u, one.CountText("hello"));
   EXPECT_EQ(1u, other.CountText("hello"));
   EXPECT_EQ(1u, there.CountText("hello"));
   EXPECT_EQ(0u, host.CountText("hello"));
}

// The bridge device hands broadcasts to the host too, beside the adapter.
TEST_F(BridgePatchTest, TheHostsServicesHearABroadcastOnce)
{
   Attach();
   netlab::UdpEcho const service(GetHost(), 4000);
   auto const send = [](netlab::Namespace const& place) {
      auto const socket = netlab::OpenSocket(place, AF_INET, SOCK_DGRAM);
      int const on = 1;
      setsockopt(socket.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
      auto const to = netlab::MakeSocketAddress({"10.3.0.255", 4000});
      ASSERT_EQ(5, sendto(socket.Get(), "hello", 5, 0, to.Get(), to.length));
   };
   send(guest);
   send(station);
   ASSERT_TRUE(service.WaitFor(2));
   EXPECT_EQ("last", netlab::AskUdp(guest, {"10.3.0.1", 4000}, "last"));
   EXPECT_EQ(3u, service.GetCount());
}

TEST_F(BridgePatchTest, TheBridgeDeviceSaysNothingForTheHost)
{
   Attach();
   GetHost().Command("ip addr add 10.4.0.1/24 dev tvnet0");
   PacketPort const there(guest, "eth0");
   EXPECT_FALSE(Ping(GetHost(), "10.4.0.50", silence));
   EXPECT_EQ(0u, there.Count([](Frame const& frame) {
      return frame.source == MacAddress{{2, 0, 0, 0, 0, 0x10}};
   }));
}

// The copy that a host keeps of its own multicast comes in at the adapter without a header.
TEST_F(BridgePatchTest, TheHostsOwnMulticastGoesRoundOnce)
{
   Attach();
   struct {
      char const* group;
      MacAddress mac;
      std::uint8_t version; // the first byte of such a packet
   } const groups[] = {{"239.1.2.3", {{1, 0, 0x5e, 1, 2, 3}}, 0x45},
                       {"ff15::77", {{0x33, 0x33, 0, 0, 0, 0x77}}, 0x60}};
   for (auto const& [group, mac, version] : groups) {
      SCOPED_TRACE(group);
      PacketPort const one(guest, "eth0"), there(station, "eth0"), host(GetHost(), "eth0");
      auto const to = netlab::MakeSocketAddress({group, 4002});
      auto const listener = Join(to);
      auto const sender = OpenMulticastSender(to);
      ASSERT_EQ(5, sendto(sender.Get(), "hello", 5, 0, to.Get(), to.length));
      Settle(host, {&one, &there});
      auto const isIt = [mac = mac](Frame const& frame) { return frame.destination == mac; };
      // Those that tell routers of the group are none of it.
      EXPECT_EQ(1u, one.Count(isIt));
      EXPECT_EQ(1u, there.Count(isIt));
      // Passed on without its header, a packet would make a frame that begins with its version.
      EXPECT_EQ(0u, one.Count([version = version](Frame const& frame) {
         return frame.destination.bytes[0] == version;
      }));
      char data[16];
      EXPECT_EQ(5, recv(listener.Get(), data, sizeof data, MSG_DONTWAIT));
      EXPECT_EQ(-1, recv(listener.Get(), data, sizeof data, MSG_DONTWAIT));
   }
}

TEST_F(BridgePatchTest, FramesBetweenHostAndGuestStayOffTheWire)
{
   Attach();
   netlab::UdpEcho const service(guest, 7);
   netlab::UdpEcho const hostService(GetHost(), 7);
   ASSERT_TRUE(Ping(guest, "10.3.0.1"));
   PacketPort const wire(lan.GetSwitch(), wirePort);
   EXPECT_EQ("a", netlab::AskUdp(GetHost(), {"10.3.0.50", 7}, "a"));
   EXPECT_EQ("b", netlab::AskUdp(guest, {"10.3.0.1", 7}, "b"));
   PacketPort const host(GetHost(), "eth0");
   Settle(host, {&wire});
   auto const guestMac = guest.GetMac("eth0");
   auto const hostMac = GetHost().GetMac("eth0");
   EXPECT_EQ(0u, wire.Count([&](Frame const& frame) {
      return frame.destination == guestMac || frame.destination == hostMac;
   }));
}

TEST_F(BridgePatchTest, FramesBetweenHostAndStationStayOffTheBridge)
{
   Attach();
   netlab::UdpEcho const service(station, 7);
   ASSERT_TRUE(Ping(GetHost(), "10.3.0.9"));
   PacketPort const one(guest, "eth0");
   EXPECT_EQ("a", netlab::AskUdp(GetHost(), {"10.3.0.9", 7}, "a"));
   PacketPort const host(GetHost(), "eth0");
   Settle(host, {&one});
   auto const stationMac = station.GetMac("eth0");
   auto const hostMac = GetHost().GetMac("eth0");
   EXPECT_EQ(0u, one.Count([&](Frame const& frame) {
      return frame.destination == stationMac || frame.destination == hostMac;
   }));
}

TEST_F(BridgePatchTest, FramesThatClaimTheHostsAddressAreDropped)
{
   Attach();
   auto const hostMac = GetHost().GetMac("eth0");
   PacketPort const liar(guest, "eth0"), wire(lan.GetSwitch(), wirePort), host(GetHost(), "eth0");
   for (auto const target : {broadcastMac, station.GetMac("eth0"), hostMac}) {
      liar.Send({target, hostMac, netlab::experimentType, {'l', 'i', 'e'}, -1, 0, {}});
   }
   Settle(liar, {&wire, &host});
   EXPECT_EQ(0u, wire.CountText("lie"));
   EXPECT_EQ(0u, host.CountText("lie"));
   // And nobody's frames for the host go to the liar.
   EXPECT_TRUE(Ping(otherGuest, "10.3.0.1"));
}

TEST_F(BridgePatchTest, AGuestsFramesForTheHostAreTheHosts)
{
   Attach();
   ASSERT_TRUE(Ping(guest, "10.3.0.1"));
   PacketPort const other(otherGuest, "eth0");
   netlab::UdpEcho const service(GetHost(), 7);
   EXPECT_EQ("a", netlab::AskUdp(guest, {"10.3.0.1", 7}, "a"));
   PacketPort const from(guest, "eth0");
   Settle(from, {&other});
   auto const hostMac = GetHost().GetMac("eth0");
   EXPECT_EQ(0u, other.Count([&](Frame const& frame) { return frame.destination == hostMac; }));
}

TEST_F(BridgePatchTest, AServiceThatIsBoundToTheAdapterHearsGuests)
{
   Attach();
   netlab::UdpEcho const service(GetHost(), 7, "eth0");
   EXPECT_EQ("a", netlab::AskUdp(guest, {"10.3.0.1", 7}, "a"));
   EXPECT_EQ("b", netlab::AskUdp(station, {"10.3.0.1", 7}, "b"));
}

// Policies of the host go by the mark.
TEST_F(BridgePatchTest, TheMarkIsTakenOffAgain)
{
   GetHost().Command(std::vector<std::string>{
      "nft",
      "table inet watch { chain c { type filter hook input priority 0; meta mark != 0 drop; }; }; "
      "table netdev watch { chain c { type filter hook egress device \"eth0\" priority 2000; "
      "meta mark != 0 drop; }; }"});
   Attach();
   EXPECT_TRUE(Ping(guest, "10.3.0.1"));
   EXPECT_TRUE(Ping(guest, "10.3.0.9"));
   EXPECT_TRUE(Ping(guest, "fd03::1"));
}

// And others' marks stay.
TEST_F(BridgePatchTest, TheHostsOwnMarksStay)
{
   GetHost().Command(std::vector<std::string>{
      "nft",
      "table inet marks { chain c { type route hook output priority 0; meta mark set 0x1042; }; }; "
      "table netdev watch { chain c { type filter hook egress device \"eth0\" priority 2000; "
      "ip protocol icmp meta mark != 0x1042 drop; }; }"});
   Attach();
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.9"));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50"));
}

TEST_F(BridgePatchTest, ASilentGuestIsReachedFromTheWire)
{
   Attach();
   PacketPort const from(station, "eth0"), one(guest, "eth0");
   MacAddress const unheardOf{{2, 0, 0, 0, 9, 9}};
   from.SendText(unheardOf, "anyone?");
   EXPECT_TRUE(one.WaitForText("anyone?"));
}

TEST_F(BridgePatchTest, VlanTagsGoThrough)
{
   Attach();
   PacketPort const one(guest, "eth0"), there(station, "eth0"), host(GetHost(), "eth0");
   auto const send = [](PacketPort const& from, char text) {
      from.Send({broadcastMac,
                 from.GetMac(),
                 netlab::experimentType,
                 {static_cast<std::uint8_t>(text)},
                 77,
                 0,
                 {}});
   };
   auto const heard = [](PacketPort const& port, char text) {
      return port.WaitFor([text](Frame const& frame) {
         return frame.vlan == 77 && frame.type == netlab::experimentType &&
                frame.payload.at(0) == static_cast<std::uint8_t>(text);
      });
   };
   send(one, 'g');
   EXPECT_TRUE(heard(there, 'g'));
   EXPECT_TRUE(heard(host, 'g'));
   send(there, 's');
   EXPECT_TRUE(heard(one, 's'));
   send(host, 'h');
   EXPECT_TRUE(heard(one, 'h'));
   EXPECT_TRUE(heard(there, 'h'));
}

TEST_F(BridgePatchTest, LargeSegmentsGoThroughWhole)
{
   Attach();
   netlab::TcpSource const fromStation(station, 9000), fromGuest(guest, 9000),
      fromHost(GetHost(), 9000);
   auto const isLarge = [](Frame const& frame) { return frame.payload.size() > 3000; };
   struct {
      netlab::Namespace const& place;
      std::string source;
   } const ways[] = {
      {guest, "10.3.0.9"}, {guest, "10.3.0.1"}, {station, "10.3.0.50"}, {GetHost(), "10.3.0.50"}};
   for (auto const& [place, source] : ways) {
      PacketPort const port(place, "eth0");
      netlab::TcpDownload const download(place, {source, 9000});
      EXPECT_TRUE(download.WaitForMore(8 << 20)) << source;
      EXPECT_GT(port.Count(isLarge), 0u) << source;
   }
}

TEST_F(BridgePatchTest, TheMtuFollowsTheAdapter)
{
   GetHost().Command("ip link set eth0 mtu 1400");
   Attach();
   EXPECT_EQ(1400u, links->Require("tvnet0").mtu);
   lan.GetSwitch().Command("ip link set " + wirePort + " mtu 9000");
   lan.GetSwitch().Command("ip link set port2 mtu 9000");
   station.Command("ip link set eth0 mtu 9000");
   for (auto const* device : {"eth0", "tap0"}) {
      GetHost().Command(std::string("ip link set mtu 9000 dev ") + device);
   }
   guest.Command("ip link set eth0 mtu 9000");
   Attach();
   EXPECT_EQ(9000u, links->Require("tvnet0").mtu);
   EXPECT_TRUE(Ping(guest, "10.3.0.9", test::patience, 8972));
   EXPECT_TRUE(Ping(guest, "10.3.0.1", test::patience, 8972));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50", test::patience, 8972));
}

TEST_F(BridgePatchTest, AGuestThatMovesToTheWireIsFoundThere)
{
   Attach();
   ASSERT_TRUE(Ping(GetHost(), "10.3.0.50"));
   // It is plugged in elsewhere, and speaks.
   auto const mac = guest.GetMac("eth0").ToString();
   GetHost().Command("ip link delete tap0");
   netlab::Namespace moved;
   lan.Plug(moved, "eth0");
   moved.Command("ip link set eth0 address " + mac);
   moved.AddAddress("eth0", "10.3.0.50/24");
   EXPECT_TRUE(Ping(moved, "10.3.0.9"));
   PacketPort(moved, "eth0").SendText(broadcastMac, "here");
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50"));
   EXPECT_TRUE(Ping(otherGuest, "10.3.0.50"));
}

TEST_F(BridgePatchTest, OtherAddressesOnTheAdapterStayReachable)
{
   try {
      GetHost().Command("ip link add mv0 link eth0 type macvlan mode bridge");
   } catch (std::runtime_error const& error) {
      GTEST_SKIP() << error.what();
   }
   netlab::Namespace neighbour;
   GetHost().Command("ip link set mv0 netns " + neighbour.GetPath());
   neighbour.AddAddress("mv0", "10.3.0.60/24");
   ASSERT_TRUE(Ping(station, "10.3.0.60"));
   Attach();
   EXPECT_TRUE(Ping(station, "10.3.0.60"));
   EXPECT_TRUE(Ping(neighbour, "10.3.0.9"));
}

TEST_F(BridgePatchTest, TheAdaptersNewAddressIsTheHosts)
{
   Attach();
   GetHost().Command("ip link set eth0 address 02:00:00:00:aa:01");
   Attach();
   EXPECT_TRUE(Ping(guest, "10.3.0.1"));
   EXPECT_TRUE(Ping(GetHost(), "10.3.0.50"));
   EXPECT_TRUE(Ping(station, "10.3.0.1"));
}

TEST_F(BridgePatchTest, GuestsAreAnnouncedToANewNetwork)
{
   ASSERT_TRUE(Ping(guest, "10.3.0.51"));
   PacketPort const there(station, "eth0");
   Attach();
   auto const guestMac = guest.GetMac("eth0");
   auto const isIt = [&](Frame const& frame) {
      return frame.source == guestMac && frame.type == 0x8035;
   };
   EXPECT_TRUE(there.WaitFor(isIt));
   // So the host knows it as well, and sends nothing for it to the wire.
   PacketPort const wire(lan.GetSwitch(), wirePort), host(GetHost(), "eth0");
   host.SendText(guestMac, "for the guest");
   Settle(host, {&wire});
   EXPECT_EQ(0u, wire.CountText("for the guest"));
   there.GetFrames();
   patch->Announce("eth0");
   EXPECT_TRUE(there.WaitFor(isIt, 2));
}

TEST_F(BridgePatchTest, AForeignDropHoldsForGuestsToo)
{
   GetHost().Command(std::vector<std::string>{
      "nft", "table netdev foreign { chain c { type filter hook ingress device "
             "\"eth0\" priority 0; udp dport 9 drop; }; }"});
   Attach();
   netlab::UdpEcho const good(guest, 7), dropped(guest, 9);
   EXPECT_EQ("a", netlab::AskUdp(station, {"10.3.0.50", 7}, "a"));
   EXPECT_FALSE(netlab::AskUdp(station, {"10.3.0.50", 9}, "a", silence));
}

} // namespace

} // namespace vnet::host
