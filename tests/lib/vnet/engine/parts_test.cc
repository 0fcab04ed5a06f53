// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/parts.hh"

#include "vnet/services/plan.hh"

#include <gmock/gmock.h>

namespace vnet::engine {

namespace {

using services::Kind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PartsTest : public testing::Test {
protected:
   PartsTest()
   {
      auto& nat = settings.networks[8];
      nat.subnetAddress = Address{0xc0a80800};
      nat.subnetMask = Address{0xffffff00};
      nat.useAdapter = nat.useDhcp = nat.useNat = true;
      auto& bare = settings.networks[1];
      bare.subnetAddress = Address{0xc0a80100};
      bare.subnetMask = Address{0xffffff00};
      settings.adapters["eth0"] = 2;
      settings.automatic = 0;
   }

   services::WantedNetwork Plan(Parts const& stopped, unsigned int index = 8)
   {
      return PlanWithout(settings, index, stopped, facts);
   }

   Settings settings;
   services::HostFacts const facts;
};

} // namespace

TEST_F(PartsTest, AreThoseThatTheDatabaseWants)
{
   EXPECT_THAT(GetWantedParts(settings, 8), ElementsAre(Part::Dhcp, Part::Nat, Part::Adapter));
   EXPECT_THAT(GetWantedParts(settings, 1), IsEmpty());
   EXPECT_THAT(GetWantedParts(settings, 2), ElementsAre(Part::Bridge));
   EXPECT_THAT(GetWantedParts(settings, 0), ElementsAre(Part::Bridge));
   EXPECT_THAT(GetWantedParts(settings, 3), IsEmpty());
}

TEST_F(PartsTest, WithNothingStoppedThePlanIsTheDatabases)
{
   EXPECT_EQ(services::Plan(settings, 8, facts), Plan({}));
   EXPECT_EQ(services::Plan(settings, 8, facts), Plan({Part::Bridge}));
   EXPECT_EQ(services::Plan(settings, 1, facts), Plan({Part::Nat}, 1));
}

TEST_F(PartsTest, WithoutNatItsFlowsAreParked)
{
   auto const plan = Plan({Part::Nat});
   EXPECT_EQ(services::Plan(settings, 8, facts).parkedRuleset, plan.ruleset);
   EXPECT_EQ(2u, plan.addresses.size());
   EXPECT_TRUE(plan.dnsmasq);
}

TEST_F(PartsTest, WithoutDhcpNatGoesOn)
{
   auto const plan = Plan({Part::Dhcp});
   EXPECT_EQ(Kind::Nat, plan.kind);
   ASSERT_TRUE(plan.dnsmasq);
   EXPECT_EQ(std::string::npos, plan.dnsmasq->configuration.find("dhcp-range"));
}

TEST_F(PartsTest, AStoppedNetworkHasABridgeAtMost)
{
   auto const plan = Plan(allParts);
   EXPECT_TRUE(NeedsPlug(plan));
   EXPECT_THAT(plan.addresses, IsEmpty());
   EXPECT_FALSE(plan.dnsmasq);
   EXPECT_EQ(services::Plan(settings, 8, facts).parkedRuleset, plan.ruleset);
   EXPECT_TRUE(NeedsPlug(Plan(allParts, 2)));
   EXPECT_THAT(Plan(allParts, 1).ruleset, HasSubstr("drop"));
}

TEST_F(PartsTest, OnlyABridgedNetworkWithoutAdaptersNeedsAPlug)
{
   EXPECT_FALSE(NeedsPlug(Plan({})));
   EXPECT_FALSE(NeedsPlug(Plan({}, 1)));
   EXPECT_FALSE(NeedsPlug(Plan({}, 2)));
   EXPECT_TRUE(NeedsPlug(Plan({}, 0)));
}

} // namespace vnet::engine
