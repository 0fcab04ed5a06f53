// SPDX-License-Identifier: GPL-2.0-or-later
// Plans as they were read and approved. With TAVRIN_WRITE_GOLDEN in the environment the files are
// written instead of compared; then look at the difference.
#include "lib/vnet/services/databases.hh"
#include "lib/vnet/services/planText.hh"
#include "support/testProcess.hh"
#include "vnet/services/plan.hh"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>

namespace vnet::services {

namespace {

namespace fs = std::filesystem;

fs::path const folder = fs::path(TEST_SOURCE_DIR) / "golden";

class GoldenTest : public testing::TestWithParam<Database> {
protected:
   void Compare(std::string const& suffix, std::string const& text) const
   {
      auto const path = folder / (GetParam().name + "." + suffix);
      if (std::getenv("TAVRIN_WRITE_GOLDEN")) {
         std::ofstream(path, std::ios::binary) << text;
         return;
      }
      ASSERT_TRUE(fs::exists(path)) << path;
      EXPECT_EQ(test::ReadFile(path), text) << path;
   }
};

TEST_P(GoldenTest, ThePlanIsTheOneThatWasApproved)
{
   auto const& [name, index, settings, facts] = GetParam();
   auto const wanted = Plan(settings, index, facts);
   Compare("host", ToText(wanted));
   Compare("ruleset", wanted.ruleset);
   if (!wanted.parkedRuleset.empty()) {
      Compare("parked", wanted.parkedRuleset);
   }
   if (wanted.dnsmasq) {
      Compare("conf", wanted.dnsmasq->configuration);
      Compare("options", wanted.dnsmasq->options);
      Compare("servers", wanted.dnsmasq->servers);
   }
}

TEST_P(GoldenTest, ThePlanIsTheSameEveryTime)
{
   auto const& [name, index, settings, facts] = GetParam();
   EXPECT_EQ(Plan(settings, index, facts), Plan(settings, index, facts));
}

std::string GetTestName(testing::TestParamInfo<Database> const& info)
{
   std::string name = info.param.name;
   std::replace(name.begin(), name.end(), '-', '_');
   return name;
}

INSTANTIATE_TEST_SUITE_P(Databases, GoldenTest, testing::ValuesIn(MakeDatabases()), GetTestName);

TEST(GoldenFilesTest, EachBelongsToADatabase)
{
   std::set<std::string> names;
   for (auto const& database : MakeDatabases()) {
      EXPECT_TRUE(names.insert(database.name).second) << database.name;
   }
   for (auto const& entry : fs::directory_iterator(folder)) {
      EXPECT_TRUE(names.count(entry.path().stem())) << entry.path();
   }
}

} // namespace

} // namespace vnet::services
