// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/routes.hh"

#include "support/netlab/lab.hh"
#include "vnet/host/addresses.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <gtest/gtest.h>

namespace vnet::host {

namespace {

class RoutesTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (IsSkipped()) {
         return;
      }
      socket.emplace();
      routes.emplace(*socket);
      bridge = Links(*socket).CreateBridge({"tvnet8", {{2, 0, 0, 0, 0, 8}}, 1500, "ours"});
      GetHost().Command("ip addr add 192.168.8.2/32 dev tvnet8");
   }

   std::vector<Route> Find(unsigned char family, std::string const& text)
   {
      auto found = routes->List(family);
      std::erase_if(found, [&](auto const& route) { return route.ToString() != text; });
      return found;
   }

   Route Make(std::string const& text, unsigned char length)
   {
      Route route;
      route.destination = InetAddress::Parse(text).value();
      route.prefixLength = length;
      route.link = bridge.index;
      return route;
   }

   std::optional<RouteSocket> socket;
   std::optional<Routes> routes;
   Link bridge;
};

TEST_F(RoutesTest, ARouteOfASubnetComesAndGoes)
{
   auto route = Make("192.168.8.0", 24);
   route.source = InetAddress::Parse("192.168.8.2");
   routes->Add(route);
   routes->Add(route);
   EXPECT_EQ(0u, GetHost()
                    .Command("ip route show dev tvnet8")
                    .find("192.168.8.0/24 proto static scope link src 192.168.8.2 "));
   EXPECT_EQ(std::vector{route}, Find(AF_INET, "192.168.8.0/24"));
   routes->Remove(route);
   EXPECT_EQ("", GetHost().Command("ip route show dev tvnet8"));
   routes->Remove(route);
}

TEST_F(RoutesTest, RoutesOfIpv6ComeAndGo)
{
   auto const route = Make("fd00:9::", 64);
   routes->Add(route);
   ASSERT_EQ(1u, Find(AF_INET6, "fd00:9::/64").size());
   routes->Remove(route);
   EXPECT_TRUE(Find(AF_INET6, "fd00:9::/64").empty());
}

TEST_F(RoutesTest, TheRoutesOfEveryTableAreListed)
{
   auto const& host = GetHost();
   host.Command("ip route add 10.8.0.0/16 dev tvnet8 table 51820");
   host.Command("ip route add blackhole 10.9.0.0/16 table 77");
   host.Command("ip -6 route add fd00:7::/64 dev tvnet8 table 77");
   ASSERT_EQ(1u, Find(AF_INET, "10.8.0.0/16").size());
   EXPECT_EQ(51820u, Find(AF_INET, "10.8.0.0/16")[0].table);
   ASSERT_EQ(1u, Find(AF_INET, "10.9.0.0/16").size());
   EXPECT_EQ(RTN_BLACKHOLE, Find(AF_INET, "10.9.0.0/16")[0].type);
   EXPECT_EQ(1u, Find(AF_INET6, "fd00:7::/64").size());
   EXPECT_FALSE(Find(AF_INET, "127.0.0.0/8").empty());
}

TEST_F(RoutesTest, TheDefaultRouteIsTheMainTablesCheapest)
{
   EXPECT_FALSE(routes->FindDefault(AF_INET));
   auto const& host = GetHost();
   host.Command("ip addr add 10.1.0.1/24 dev tvnet8");
   host.Command("ip route add default via 10.1.0.9 table 77");
   EXPECT_FALSE(routes->FindDefault(AF_INET));
   host.Command("ip route add blackhole default metric 1");
   EXPECT_FALSE(routes->FindDefault(AF_INET));
   host.Command("ip route add default via 10.1.0.8 metric 200");
   host.Command("ip route add default via 10.1.0.7 metric 100");
   auto const found = routes->FindDefault(AF_INET);
   ASSERT_TRUE(found);
   EXPECT_EQ(InetAddress::Parse("10.1.0.7"), found->gateway);
   EXPECT_EQ(bridge.index, found->link);
   EXPECT_FALSE(routes->FindDefault(AF_INET6));
}

TEST_F(RoutesTest, OfSeveralNextHopsTheFirstIsTold)
{
   GetHost().Command("ip addr add 10.1.0.1/24 dev tvnet8");
   GetHost().Command("ip route add default nexthop via 10.1.0.8 dev tvnet8 nexthop via 10.1.0.9 "
                     "dev tvnet8");
   auto const found = routes->FindDefault(AF_INET);
   ASSERT_TRUE(found);
   EXPECT_EQ(InetAddress::Parse("10.1.0.8"), found->gateway);
}

TEST_F(RoutesTest, AFailureNamesTheRoute)
{
   auto route = Make("192.168.9.0", 24);
   route.source = InetAddress::Parse("198.51.100.1"); // not this host's
   try {
      routes->Add(route);
      FAIL();
   } catch (Error const& error) {
      EXPECT_EQ(0u, std::string(error.what()).find("add route 192.168.9.0/24: Invalid argument"))
         << error.what();
   }
}

TEST_F(RoutesTest, AThousandRoutesAreListedWhole)
{
   std::string batch;
   for (int i = 0; i < 1000; ++i) {
      auto route = Make("10." + std::to_string(i / 250) + "." + std::to_string(i % 250) + ".0", 24);
      routes->Add(route);
   }
   auto const all = routes->List(AF_INET);
   EXPECT_EQ(1000, std::count_if(all.begin(), all.end(),
                                 [](auto const& route) { return route.prefixLength == 24; }));
}

} // namespace

} // namespace vnet::host
