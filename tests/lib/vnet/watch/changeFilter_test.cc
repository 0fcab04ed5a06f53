// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/changeFilter.hh"

#include <functional>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

namespace vnet::watch {

namespace {

constexpr std::uint32_t self = 100;
constexpr std::uint32_t other = 200;

class ChangeFilterTest : public testing::Test {
protected:
   ChangeFilterTest()
   {
      adapter.index = 2;
      adapter.name = "eth0";
      adapter.mtu = 1500;
      adapter.flags = IFF_UP;
      adapter.carrier = true;
      bridge = adapter;
      bridge.index = 3;
      bridge.name = "tvnet8";
      bridge.kind = "bridge";
      address.link = adapter.index;
      address.address = Address::Parse("10.3.0.1").value();
      address.prefixLength = 24;
      route.link = adapter.index;
      route.destination = Address::Parse("10.4.0.0").value();
      route.prefixLength = 16;
      filter.Learn({adapter, bridge}, {address}, {route});
   }

   Findings Look(host::Event const& event)
   {
      Findings findings;
      filter.Look(event, findings);
      return findings;
   }

   host::Link adapter;
   host::Link bridge;
   host::InterfaceAddress address;
   host::Route route;
   ChangeFilter filter{self};
};

TEST_F(ChangeFilterTest, ALinkToldAgainIsNoChange)
{
   auto same = adapter;
   same.promiscuity = 3;
   same.flags |= IFF_RUNNING;
   auto const findings = Look(host::LinkChanged{same});
   EXPECT_FALSE(findings.host);
   EXPECT_TRUE(findings.carriers.empty());
}

TEST_F(ChangeFilterTest, WhatMattersOfALinkIsAChange)
{
   std::vector<std::function<void(host::Link&)>> const changes{
      [](host::Link& link) { link.name = "eth9"; },
      [](host::Link& link) { link.mac.bytes[5] ^= 1; },
      [](host::Link& link) { link.mtu = 9000; },
      [](host::Link& link) { link.flags &= ~static_cast<unsigned int>(IFF_UP); },
      [](host::Link& link) { link.flags |= IFF_PROMISC; },
      [](host::Link& link) { link.master = 3; },
      [](host::Link& link) { link.alias = "mine"; },
      [](host::Link& link) { link.kind = "veth"; },
      [](host::Link& link) { link.carrier = false; }};
   for (std::size_t at = 0; at < changes.size(); ++at) {
      auto changed = adapter;
      changes[at](changed);
      EXPECT_TRUE(Look(host::LinkChanged{changed}).host) << at;
      EXPECT_FALSE(Look(host::LinkChanged{changed}).host) << at;
      Look(host::LinkChanged{adapter});
   }
}

TEST_F(ChangeFilterTest, LinksThatComeAndGoAreChanges)
{
   auto late = adapter;
   late.index = 7;
   EXPECT_TRUE(Look(host::LinkChanged{late}).host);
   EXPECT_TRUE(Look(host::LinkChanged{late, true}).host);
   EXPECT_FALSE(Look(host::LinkChanged{late, true}).host);
}

TEST_F(ChangeFilterTest, ACarrierIsToldWhenItComes)
{
   auto without = adapter;
   without.carrier = false;
   EXPECT_TRUE(Look(host::LinkChanged{without}).carriers.empty());
   EXPECT_EQ(std::set<std::string>{"eth0"}, Look(host::LinkChanged{adapter}).carriers);
   EXPECT_TRUE(Look(host::LinkChanged{adapter}).carriers.empty());
}

TEST_F(ChangeFilterTest, ANewDeviceWithACarrierHasOneThatCame)
{
   auto late = adapter;
   late.index = 7;
   late.name = "usb0";
   EXPECT_EQ(std::set<std::string>{"usb0"}, Look(host::LinkChanged{late}).carriers);
}

TEST_F(ChangeFilterTest, AnAddressWithANewLifetimeIsNoChange)
{
   EXPECT_FALSE(Look(host::AddressChanged{address}).host);
   auto late = address;
   late.address = Address::Parse("10.3.0.2").value();
   EXPECT_TRUE(Look(host::AddressChanged{late}).host);
   EXPECT_FALSE(Look(host::AddressChanged{late}).host);
   EXPECT_TRUE(Look(host::AddressChanged{late, true}).host);
   EXPECT_FALSE(Look(host::AddressChanged{late, true}).host);
}

TEST_F(ChangeFilterTest, RoutesBetweenTheHostAndTheWorldAreTheirOwnAffair)
{
   EXPECT_FALSE(Look(host::RouteChanged{route}).host);
   EXPECT_FALSE(Look(host::RouteChanged{route, true}).host);
}

TEST_F(ChangeFilterTest, ADefaultRouteIsAChange)
{
   auto everywhere = route;
   everywhere.destination = Address();
   everywhere.prefixLength = 0;
   EXPECT_TRUE(Look(host::RouteChanged{everywhere}).host);
   EXPECT_TRUE(Look(host::RouteChanged{everywhere, true}).host);
}

TEST_F(ChangeFilterTest, ALostRouteOfOurBridgeIsAChange)
{
   auto ours = route;
   ours.link = bridge.index;
   EXPECT_TRUE(Look(host::RouteChanged{ours, true}).host);
   ours.table = RT_TABLE_LOCAL;
   EXPECT_FALSE(Look(host::RouteChanged{ours, true}).host);
}

TEST_F(ChangeFilterTest, TheFirstRouteMakesADeviceAWayOut)
{
   auto tunnel = adapter;
   tunnel.index = 9;
   Look(host::LinkChanged{tunnel});
   auto first = route;
   first.link = tunnel.index;
   EXPECT_TRUE(Look(host::RouteChanged{first}).host);
   EXPECT_FALSE(Look(host::RouteChanged{first}).host);
   // Down, it loses its routes without a word.
   tunnel.flags = 0;
   Look(host::LinkChanged{tunnel});
   EXPECT_TRUE(Look(host::RouteChanged{first}).host);
}

TEST_F(ChangeFilterTest, ForeignRulesAreNotOurs)
{
   EXPECT_FALSE(Look(host::RulesetChanged{1, "filter", true, other}).HasRules());
   EXPECT_FALSE(Look(host::RulesetChanged{1, "tavrin-tvnet256", true, other}).HasRules());
   EXPECT_FALSE(Look(host::RulesetChanged{1, "tvnet8", true, other}).HasRules());
}

TEST_F(ChangeFilterTest, TheRulesOfDockerAndFirewalldConcernAllNetworks)
{
   EXPECT_TRUE(Look(host::RulesetChanged{2, "filter", false, other}).host);
   EXPECT_TRUE(Look(host::RulesetChanged{1, "firewalld", true, other}).host);
   EXPECT_FALSE(Look(host::RulesetChanged{1, "theirs", false, other}).host);
   EXPECT_FALSE(Look(host::RulesetChanged{2, "filter", false, self}).host);
}

TEST_F(ChangeFilterTest, WhatWeChangedOurselvesIsNoFinding)
{
   EXPECT_FALSE(Look(host::RulesetChanged{1, "tavrin-tvnet8", false, self}).HasRules());
}

TEST_F(ChangeFilterTest, RulesThatSomeoneChangedAreToldByNetwork)
{
   auto const findings = Look(host::RulesetChanged{1, "tavrin-tvnet8", false, other});
   EXPECT_EQ(std::set<unsigned int>{8}, findings.networks);
   EXPECT_FALSE(findings.patches);
   EXPECT_EQ(other, findings.intruder);
   EXPECT_FALSE(findings.host);
}

TEST_F(ChangeFilterTest, RulesOfAPatchAreToldToo)
{
   auto const findings = Look(host::RulesetChanged{5, "tavrin-patch-eth0", true, other});
   EXPECT_TRUE(findings.patches);
   EXPECT_TRUE(findings.networks.empty());
}

TEST_F(ChangeFilterTest, LostEventsMakeEverythingSuspect)
{
   auto const findings = Look(host::EventsLost{});
   EXPECT_TRUE(findings.host);
   EXPECT_TRUE(findings.patches);
   EXPECT_TRUE(findings.lost);
}

TEST_F(ChangeFilterTest, LearningAnewForgetsWhatWent)
{
   filter.Learn({bridge}, {}, {});
   EXPECT_TRUE(Look(host::LinkChanged{adapter}).host);
   EXPECT_TRUE(Look(host::AddressChanged{address}).host);
}

} // namespace

} // namespace vnet::watch
