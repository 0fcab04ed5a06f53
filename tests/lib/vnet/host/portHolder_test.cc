// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/portHolder.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/tcp.hh"
#include "support/netlab/udp.hh"

#include <cerrno>
#include <gtest/gtest.h>
#include <netinet/in.h>

namespace vnet::host {

namespace {

class PortHolderTest : public netlab::LabTest {};

bool CanBind(int type, char const* address, std::uint16_t port)
{
   base::FileDescriptor const socket(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
   auto const to = netlab::MakeSocketAddress({address, port});
   return bind(socket.Get(), to.Get(), to.length) == 0;
}

TEST_F(PortHolderTest, APortIsHeldUntilItsHolderGoes)
{
   for (bool const tcp : {true, false}) {
      int const type = tcp ? SOCK_STREAM : SOCK_DGRAM;
      {
         auto const holder = PortHolder::Hold(tcp, 8080);
         ASSERT_TRUE(holder);
         EXPECT_FALSE(CanBind(type, "0.0.0.0", 8080));
         EXPECT_FALSE(CanBind(type, "127.0.0.1", 8080));
         EXPECT_TRUE(CanBind(type, "0.0.0.0", 8081));
         EXPECT_TRUE(PortHolder::Hold(!tcp, 8080));
      }
      EXPECT_TRUE(CanBind(type, "0.0.0.0", 8080));
   }
}

TEST_F(PortHolderTest, AServicesPortIsNotHeld)
{
   netlab::TcpEcho const tcp(GetHost(), 8080);
   netlab::UdpEcho const udp(GetHost(), 8081);
   EXPECT_FALSE(PortHolder::Hold(true, 8080));
   EXPECT_FALSE(PortHolder::Hold(false, 8081));
   EXPECT_TRUE(PortHolder::Hold(true, 8081));
}

TEST_F(PortHolderTest, AServiceOnOneAddressHasThePort)
{
   base::FileDescriptor const service(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
   auto const at = netlab::MakeSocketAddress({"127.0.0.2", 8080});
   ASSERT_EQ(0, bind(service.Get(), at.Get(), at.length));
   ASSERT_EQ(0, listen(service.Get(), 1));
   EXPECT_FALSE(PortHolder::Hold(true, 8080));
}

TEST_F(PortHolderTest, AFormerServicesConnectionsDoNotKeepThePort)
{
   {
      netlab::TcpEcho const service(GetHost(), 8080);
      ASSERT_EQ("a", netlab::AskTcp(GetHost(), {"127.0.0.1", 8080}, "a"));
   }
   // The side that closed first waits for stragglers for a minute.
   EXPECT_TRUE(PortHolder::Hold(true, 8080));
}

TEST_F(PortHolderTest, AServiceThatReusesPortsDoesNotGetAHeldOne)
{
   auto const holder = PortHolder::Hold(true, 8080);
   ASSERT_TRUE(holder);
   EXPECT_ANY_THROW(netlab::TcpEcho(GetHost(), 8080));
}

TEST_F(PortHolderTest, NobodyIsServed)
{
   auto const tcp = PortHolder::Hold(true, 8080);
   auto const udp = PortHolder::Hold(false, 8080);
   EXPECT_FALSE(netlab::ConnectTcp(GetHost(), {"127.0.0.1", 8080}));
   auto const sender = netlab::OpenSocket(GetHost(), AF_INET, SOCK_DGRAM);
   auto const to = netlab::MakeSocketAddress({"127.0.0.1", 8080});
   std::string const text(60000, 'x');
   for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(ssize_t(text.size()),
                sendto(sender.Get(), text.data(), text.size(), 0, to.Get(), to.length));
   }
   // What is queued for a socket shows in the fifth field, after a colon.
   auto const sockets = GetHost().Command("cat /proc/net/udp");
   auto const line = sockets.find("00000000:1F90");
   ASSERT_NE(std::string::npos, line) << sockets;
   EXPECT_NE(std::string::npos, sockets.substr(line, 80).find("00000000:00000000")) << sockets;
}

} // namespace

} // namespace vnet::host
