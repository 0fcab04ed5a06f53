// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/adapterChoice.hh"

#include <gtest/gtest.h>

namespace vnet::engine {

namespace {

constexpr bool automatic = true;
constexpr bool fixed = false;

} // namespace

TEST(AdapterChoiceTest, NoCandidateIsNoChoice)
{
   EXPECT_EQ(std::nullopt, ChooseAdapter(automatic, {}));
   EXPECT_EQ(std::nullopt, ChooseAdapter(fixed, {}));
}

TEST(AdapterChoiceTest, TheDefaultRouteGoesBeforeThePresentOne)
{
   EXPECT_EQ("eth1",
             ChooseAdapter(automatic, {{.name = "eth0", .carrier = true, .present = true},
                                       {.name = "eth1", .carrier = true, .defaultRoute = true}}));
}

TEST(AdapterChoiceTest, ThePresentOneGoesBeforeOthersWithCarrier)
{
   EXPECT_EQ("eth1",
             ChooseAdapter(automatic, {{.name = "eth0", .carrier = true},
                                       {.name = "eth1", .carrier = true, .present = true}}));
}

TEST(AdapterChoiceTest, ThePresentOneWithoutCarrierGivesWay)
{
   EXPECT_EQ("eth0", ChooseAdapter(automatic, {{.name = "eth0", .carrier = true},
                                               {.name = "eth1", .present = true}}));
}

TEST(AdapterChoiceTest, ADefaultRouteWithoutCarrierLeadsNowhere)
{
   EXPECT_EQ("eth1", ChooseAdapter(automatic, {{.name = "eth0", .defaultRoute = true},
                                               {.name = "eth1", .carrier = true}}));
}

TEST(AdapterChoiceTest, WithoutAnyCarrierThePresentOneStays)
{
   EXPECT_EQ("eth1",
             ChooseAdapter(automatic, {{.name = "eth0"}, {.name = "eth1", .present = true}}));
}

TEST(AdapterChoiceTest, OfEqualsTheFirstIsTaken)
{
   EXPECT_EQ("eth0", ChooseAdapter(automatic, {{.name = "eth0", .carrier = true},
                                               {.name = "eth1", .carrier = true}}));
   EXPECT_EQ("eth0", ChooseAdapter(automatic, {{.name = "eth0"}, {.name = "eth1"}}));
}

TEST(AdapterChoiceTest, AFixedNetworkTakesItsFirstWhateverItsState)
{
   EXPECT_EQ("eth0",
             ChooseAdapter(fixed, {{.name = "eth0"},
                                   {.name = "eth1", .carrier = true, .defaultRoute = true}}));
}

} // namespace vnet::engine
