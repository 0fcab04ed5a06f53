// SPDX-License-Identifier: GPL-2.0-or-later
// Whether those for whom the texts are take them.
#include "lib/vnet/services/databases.hh"
#include "support/netlab/lab.hh"
#include "support/testProcess.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/services/plan.hh"

#include <gmock/gmock.h>

namespace vnet::services {

namespace {

class AcceptanceTest : public netlab::LabTest {
protected:
   // Hands each database's plan over, with its name.
   template <class Work>
   void ForEach(Work const& work)
   {
      for (auto const& [name, index, settings, facts] : MakeDatabases()) {
         SCOPED_TRACE(name);
         work(Plan(settings, index, facts));
      }
   }
};

TEST_F(AcceptanceTest, NftablesChecksEachRuleset)
{
   test::TempDir const folder;
   ForEach([&](WantedNetwork const& wanted) {
      auto const path = folder.Write("ruleset", wanted.ruleset);
      EXPECT_NO_THROW(GetHost().Command("nft --check --file " + path));
      auto const parked = folder.Write("parked", wanted.parkedRuleset);
      EXPECT_NO_THROW(GetHost().Command("nft --check --file " + parked));
   });
}

TEST_F(AcceptanceTest, NftablesTakesEachRulesetInPlaceOfAnyOther)
{
   host::Ruleset ruleset;
   ForEach([&](WantedNetwork const& wanted) {
      auto const table = GetTableName(wanted.index);
      ruleset.Run(wanted.ruleset, table);
      auto const first = ruleset.List("inet", table);
      EXPECT_NE("", first);
      if (!wanted.parkedRuleset.empty()) {
         ruleset.Run(wanted.parkedRuleset, table);
         EXPECT_NE(first, ruleset.List("inet", table));
         ruleset.Run(wanted.ruleset, table);
      }
      EXPECT_EQ(first, ruleset.List("inet", table));
   });
}

TEST_F(AcceptanceTest, ARemovedTableIsGoneAndMayHaveBeenGoneBefore)
{
   host::Ruleset ruleset;
   auto const wanted = Plan(MakeNat("nat").settings, 8, MakeNat("nat").facts);
   ruleset.Run(GetRemovalRuleset(8), "tvnet8");
   ruleset.Run(wanted.ruleset, "tvnet8");
   ruleset.Run(GetRemovalRuleset(8), "tvnet8");
   EXPECT_EQ("", ruleset.List("inet", GetTableName(8)));
}

TEST_F(AcceptanceTest, DnsmasqChecksEachConfiguration)
{
   test::TempDir const folder;
   ForEach([&](WantedNetwork const& wanted) {
      if (!wanted.dnsmasq) {
         return;
      }
      auto const path = folder.Write("conf", wanted.dnsmasq->configuration);
      EXPECT_THAT(GetHost().Command("dnsmasq --test --conf-file=" + path),
                  testing::HasSubstr("syntax check OK"));
   });
}

// --test doesn't read the options, but they are in the same words as the configuration's.
TEST_F(AcceptanceTest, DnsmasqChecksEachOption)
{
   test::TempDir const folder;
   ForEach([&](WantedNetwork const& wanted) {
      std::istringstream lines(wanted.dnsmasq ? wanted.dnsmasq->options : "");
      for (std::string line; std::getline(lines, line);) {
         auto const path = folder.Write("conf", "dhcp-option=" + line + "\n");
         EXPECT_THAT(GetHost().Command("dnsmasq --test --conf-file=" + path),
                     testing::HasSubstr("syntax check OK"));
      }
   });
}

} // namespace

} // namespace vnet::services
