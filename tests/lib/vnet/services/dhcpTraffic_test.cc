// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/services/dhcpMessage.hh"
#include "lib/vnet/services/realNetwork.hh"
#include "support/netlab/dhcpClient.hh"
#include "support/netlab/endpoint.hh"

#include <gtest/gtest.h>
#include <set>

namespace vnet::services {

namespace {

namespace option = netlab::option;

class DhcpTrafficTest : public RealNetworkTest {
protected:
   void SetUp() override
   {
      RealNetworkTest::SetUp();
      if (!IsSkipped()) {
         AddNat(8, "192.168.8.0");
      }
   }

   std::optional<netlab::Lease> Acquire(Guest const& guest) const
   {
      return netlab::DhcpClient(guest.place, guest.device).Acquire();
   }

   Guest& AddPlain() { return AddGuest(8, "10.0.0.1/24", "10.0.0.2"); }

   // The guest has its address from a lease already.
   std::optional<Renewal> RenewAt(Guest& guest, unsigned int index,
                                  std::optional<std::uint32_t> seconds = {})
   {
      auto const lease = Acquire(guest);
      if (!lease) {
         return {};
      }
      auto const server = GetSettings().networks[index].GetSubnet()->GetHost(254);
      return Renew(guest.place, guest.device, lease->address, server, seconds);
   }
};

// Each network has a process of its own on the same port.
TEST_F(DhcpTrafficTest, RenewalsReachTheNetworksOwnServer)
{
   AddNat(9, "192.168.9.0");
   AddHostOnly(10, "192.168.10.0");
   for (unsigned int const index : {8, 9, 10}) {
      Make(index);
   }
   for (unsigned int const index : {8, 9, 10}) {
      auto& guest = AddGuest(index);
      auto const renewal = RenewAt(guest, index);
      ASSERT_TRUE(renewal) << index;
      EXPECT_EQ(5, renewal->type);
      EXPECT_EQ("192.168." + std::to_string(index) + ".254", renewal->address.ToString());
      EXPECT_EQ(renewal->address.value, renewal->GetNumber(option::serverId));
   }
}

TEST_F(DhcpTrafficTest, LeasesLastAsLongAsSet)
{
   Get(8).dhcp.defaultLease = 600;
   Get(8).dhcp.maxLease = 3000;
   Make(8);
   auto& guest = AddGuest(8);
   auto const lease = Acquire(guest);
   ASSERT_TRUE(lease);
   EXPECT_EQ(600u, lease->GetNumber(option::leaseTime));
   // Half and seven eighths of it (RFC 2131, 4.4.5), give or take a little.
   EXPECT_NEAR(300, static_cast<double>(*lease->GetNumber(58)), 100);
   EXPECT_NEAR(525, static_cast<double>(*lease->GetNumber(59)), 100);

   EXPECT_EQ(600u, RenewAt(guest, 8)->GetNumber(option::leaseTime));
   EXPECT_EQ(1000u, RenewAt(guest, 8, 1000)->GetNumber(option::leaseTime));
   EXPECT_EQ(3000u, RenewAt(guest, 8, 100000)->GetNumber(option::leaseTime));
   EXPECT_EQ(3000u, RenewAt(guest, 8, 0xffffffff)->GetNumber(option::leaseTime));
}

TEST_F(DhcpTrafficTest, TheRangeIsTheOneThatWasSet)
{
   Get(8).dhcp.rangeBegin = Address::Parse("192.168.8.20");
   Get(8).dhcp.rangeEnd = Address::Parse("192.168.8.20");
   Make(8);
   EXPECT_EQ("192.168.8.20", Acquire(AddPlain())->address.ToString());
}

TEST_F(DhcpTrafficTest, AGatewayWithinTheRangeIsNotLeased)
{
   Get(8).nat.gateway = Address::Parse("192.168.8.201");
   Get(8).dhcp.rangeBegin = Address::Parse("192.168.8.200");
   Get(8).dhcp.rangeEnd = Address::Parse("192.168.8.202");
   auto const wanted = Make(8);
   std::set<std::string> leased;
   for (int count = 0; count < 2; ++count) {
      auto const lease = Acquire(AddPlain());
      ASSERT_TRUE(lease);
      leased.insert(lease->address.ToString());
      EXPECT_EQ("192.168.8.201", lease->GetAddress(option::router)->ToString());
      EXPECT_EQ("192.168.8.201", lease->GetAddress(option::dnsServer)->ToString());
   }
   EXPECT_EQ((std::set<std::string>{"192.168.8.200", "192.168.8.202"}), leased);
   EXPECT_FALSE(netlab::DhcpClient(AddPlain().place, "eth0").Acquire(test::Milliseconds(600)));
}

TEST_F(DhcpTrafficTest, TheGatewayAtTheServersPlaceMovesTheServer)
{
   Get(8).nat.gateway = Address::Parse("192.168.8.254");
   Make(8);
   auto& guest = AddGuest(8);
   auto const lease = Acquire(guest);
   ASSERT_TRUE(lease);
   EXPECT_EQ("192.168.8.253", lease->GetAddress(option::serverId)->ToString());
   EXPECT_EQ("192.168.8.254", lease->GetAddress(option::router)->ToString());
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.254", "outside.test"));
}

TEST_F(DhcpTrafficTest, WhatTheDatabaseSaysOfServersIsServed)
{
   Get(8).dhcp.router = Address::Parse("192.168.8.9");
   Get(8).dhcp.dnsServer = Address::Parse("198.51.100.53");
   Get(8).dhcp.netbiosServer = Address::Parse("192.168.8.8");
   Make(8);
   auto const lease = Acquire(AddPlain());
   ASSERT_TRUE(lease);
   EXPECT_EQ("192.168.8.9", lease->GetAddress(option::router)->ToString());
   EXPECT_EQ("198.51.100.53", lease->GetAddress(option::dnsServer)->ToString());
   EXPECT_EQ("192.168.8.8", lease->GetAddress(option::netbiosServer)->ToString());
}

TEST_F(DhcpTrafficTest, TheSmallestNetworkLeasesWhatItHas)
{
   Get(8).subnetMask = Address::Parse("255.255.255.248");
   Make(8);
   std::set<std::string> leased;
   for (int count = 0; count < 2; ++count) {
      auto const lease = Acquire(AddPlain());
      ASSERT_TRUE(lease);
      leased.insert(lease->address.ToString());
      EXPECT_EQ("192.168.8.6", lease->GetAddress(option::serverId)->ToString());
   }
   EXPECT_EQ((std::set<std::string>{"192.168.8.4", "192.168.8.5"}), leased);
}

TEST_F(DhcpTrafficTest, ANetworkWithoutDhcpStillResolvesNames)
{
   Get(8).useDhcp = false;
   Make(8);
   auto& guest = AddGuest(8, "192.168.8.10/24", "192.168.8.2");
   EXPECT_FALSE(netlab::DhcpClient(guest.place, guest.device).Acquire(test::Milliseconds(600)));
   EXPECT_EQ("203.0.113.7", Resolve(guest.place, "192.168.8.2", "outside.test"));
}

TEST_F(DhcpTrafficTest, AResolverOfTheHostIsNotDisturbed)
{
   auto const socket = netlab::OpenSocket(GetHost(), AF_INET, SOCK_STREAM);
   auto const address = netlab::MakeSocketAddress({"127.0.0.53", 53});
   ASSERT_EQ(0, bind(socket.Get(), address.Get(), address.length));
   ASSERT_EQ(0, listen(socket.Get(), 1));
   Make(8);
   EXPECT_FALSE(Resolve(GetHost(), "127.0.0.1", "outside.test", test::Milliseconds(300)));
   EXPECT_FALSE(Resolve(outside, "198.51.100.1", "outside.test", test::Milliseconds(300)));
}

} // namespace

} // namespace vnet::services
