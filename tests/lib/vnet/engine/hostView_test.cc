// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostView.hh"

#include "support/netlab/lab.hh"
#include "vnet/host/netlink.hh"

#include <algorithm>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>

namespace vnet::engine {

namespace {

std::multiset<std::string> ListSubnets(Device const& device)
{
   std::multiset<std::string> subnets;
   for (auto const& subnet : device.subnets) {
      subnets.insert(subnet.ToString());
   }
   return subnets;
}

// By the device's own addresses and routes.
std::multiset<std::string> ListExpectedSubnets(Device const& device)
{
   std::multiset<std::string> subnets;
   auto const add = [&subnets](host::InetAddress const& inet, unsigned char prefixLength) {
      auto address = *inet.ToAddress();
      address.value &= Subnet{address, prefixLength}.GetMask().value;
      subnets.insert(Subnet{address, prefixLength}.ToString());
   };
   for (auto const& each : device.addresses) {
      if (each.address.family == AF_INET) {
         add(each.address, each.prefixLength);
      }
   }
   for (auto const& route : device.routes) {
      if (route.prefixLength > 1) {
         add(route.destination, route.prefixLength);
      }
   }
   return subnets;
}

std::optional<std::uint32_t> FindExpectedMetric(Device const& device)
{
   std::set<std::uint32_t> metrics;
   for (auto const& route : device.routes) {
      if (route.IsDefault() && route.table == RT_TABLE_MAIN) {
         metrics.insert(route.metric);
      }
   }
   return metrics.empty() ? std::nullopt : std::optional(*metrics.begin());
}

class HostViewTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (!IsSkipped()) {
         socket.emplace();
         view.emplace(*socket);
      }
   }

   // Many can't be made just then.
   void Change(std::string const& command)
   {
      try {
         GetHost().Command("ip " + command);
      } catch (std::runtime_error const&) {
         ++refused;
      }
   }

   void ExpectAsRead(std::string const& changes)
   {
      view->Refresh();
      host::RouteSocket another;
      HostView const fresh(another);
      ASSERT_EQ(fresh.GetDevices().size(), view->GetDevices().size()) << changes;
      for (auto const& [index, device] : view->GetDevices()) {
         SCOPED_TRACE(device.link.name + " after\n" + changes);
         EXPECT_EQ(ListExpectedSubnets(device), ListSubnets(device));
         EXPECT_EQ(FindExpectedMetric(device), device.defaultMetric);
         auto const& read = fresh.GetDevices().at(index);
         // The kernel doesn't tell of the alias of a device that is down.
         if (read.link.IsUp()) {
            EXPECT_EQ(read.network, device.network);
            EXPECT_EQ(read.isOurs, device.isOurs);
         }
         EXPECT_EQ(read.defaultMetric, device.defaultMetric);
         // Of the routes that the kernel forgets without telling, some are left.
         EXPECT_TRUE(std::ranges::includes(ListSubnets(read), ListSubnets(device)));
      }
   }

   int refused = 0;
   std::optional<host::RouteSocket> socket;
   std::optional<HostView> view;
};

// Changes of every kind, at random but always the same.
class Changes {
public:
   std::string Next()
   {
      auto const device = Choose({"d0", "d1", "d2", "tvnet3"});
      auto const address = "10.0." + Choose({"0", "1", "2"}) + "." + Choose({"1", "2", "3"});
      auto const prefix = Choose({"24", "25", "32"});
      auto const metric = Choose({"0", "5", "9"});
      auto const table = Choose({"main", "main", "77"});
      auto const verb = Choose({"add", "add", "del"});
      switch (Draw(8)) {
      case 0:
         return "link add " + device + " type bridge";
      case 1:
         return "link del " + device;
      case 2:
         return "link set " + device + " alias " + Choose({"tavrin-tvnet3", "other"});
      case 3:
         return "link set " + device + " " + Choose({"up", "up", "up", "down"});
      case 4:
      case 5:
         return "addr " + verb + " " + address + "/" + prefix + " dev " + device;
      case 6:
         return "route " + verb + " default dev " + device + " metric " + metric + " table " +
                table;
      default:
         return "route " + verb + " 172.16." + Choose({"0", "1"}) + ".0/24 dev " + device +
                " metric " + metric + " table " + table;
      }
   }

private:
   std::mt19937 random{8};

   std::size_t Draw(std::size_t count) { return random() % count; }
   std::string Choose(std::vector<std::string> const& texts) { return texts[Draw(texts.size())]; }
};

} // namespace

TEST_F(HostViewTest, WhatFollowsFromChangesIsWhatWouldBeReadAnew)
{
   constexpr int changes = 400;
   Changes source;
   std::string all;
   for (int i = 0; i < changes && !HasFailure(); ++i) {
      auto const command = source.Next();
      all += command + "\n";
      Change(command);
      ExpectAsRead(all);
   }
   EXPECT_LT(refused, changes * 2 / 3);
}

// The kernel doesn't tell of these routes' end, nor of anything else of a device without IPv6.
TEST_F(HostViewTest, SubnetsGoWithTheRoutesOfADeviceThatGoesDown)
{
   for (auto const* command :
        {"link add d0 type bridge", "link set d0 addrgenmode none", "link set d0 up",
         "addr add 10.0.0.1/24 dev d0", "route add 172.16.0.0/24 dev d0"}) {
      Change(command);
   }
   EXPECT_EQ(0, refused);
   view->Refresh();
   ASSERT_TRUE(ListSubnets(*view->Find("d0")).contains("172.16.0.0/24"));
   Change("link set d0 down");
   view->Refresh();
   EXPECT_EQ((std::multiset<std::string>{"10.0.0.0/24"}), ListSubnets(*view->Find("d0")));
}

TEST_F(HostViewTest, ADefaultRouteOfTheMainTableWithTheLowestMetricIsTheHosts)
{
   for (auto const* command :
        {"link add d0 type bridge", "link set d0 up", "link add d1 type bridge", "link set d1 up",
         "route add default dev d0 metric 9", "route add default dev d1 metric 5",
         "route add default dev d0 metric 1 table 77"}) {
      Change(command);
   }
   view->Refresh();
   ASSERT_TRUE(view->FindDefault());
   EXPECT_EQ("d1", view->FindDefault()->link.name);
   Change("link del d1");
   view->Refresh();
   ASSERT_TRUE(view->FindDefault());
   EXPECT_EQ("d0", view->FindDefault()->link.name);
}

} // namespace vnet::engine
