// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/portKeeper.hh"

#include "support/netlab/endpoint.hh"
#include "support/netlab/lab.hh"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vnet::watch {

namespace {

class PortKeeperTest : public netlab::LabTest {
protected:
   static services::WantedForward Forward(bool tcp, std::uint16_t port)
   {
      return {tcp, port, Address::Parse("192.168.8.5").value(), 80};
   }

   static bool IsFree(bool tcp, std::uint16_t port)
   {
      base::FileDescriptor const probe(
         socket(AF_INET, (tcp ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0));
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_port = htons(port);
      return bind(probe.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
   }

   PortKeeper keeper;
};

TEST_F(PortKeeperTest, HoldsWhatIsForwardedAndNoMore)
{
   keeper.Keep({Forward(true, 2222), Forward(false, 5353)});
   EXPECT_FALSE(IsFree(true, 2222));
   EXPECT_TRUE(IsFree(false, 2222));
   EXPECT_FALSE(IsFree(false, 5353));
   EXPECT_TRUE(IsFree(true, 5353));
}

TEST_F(PortKeeperTest, LetsGoOfWhatIsNotForwardedAnyMore)
{
   keeper.Keep({Forward(true, 2222), Forward(true, 2223)});
   keeper.Keep({Forward(true, 2223)});
   EXPECT_TRUE(IsFree(true, 2222));
   EXPECT_FALSE(IsFree(true, 2223));
}

TEST_F(PortKeeperTest, TakesAPortWhenItsServiceLetsGo)
{
   {
      auto const service = netlab::OpenBound(GetHost(), SOCK_STREAM, 2222);
      ASSERT_EQ(0, listen(service.Get(), 1));
      keeper.Keep({Forward(true, 2222), Forward(true, 2223)});
      EXPECT_FALSE(IsFree(true, 2223));
   }
   EXPECT_TRUE(IsFree(true, 2222));
   keeper.Keep({Forward(true, 2222), Forward(true, 2223)});
   EXPECT_FALSE(IsFree(true, 2222));
}

} // namespace

} // namespace vnet::watch
