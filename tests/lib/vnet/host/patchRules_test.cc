// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/patchRules.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

TEST(PatchRulesTest, OnlyPlainNamesGoIntoRules)
{
   for (auto const* name : {"eth0", "enp0s31f6", "eth0.5", "wlan-x", "a_b", "0"}) {
      EXPECT_TRUE(CanBePatched(name)) << name;
   }
   for (auto const* name : {"", "a\"b", "a;b", "a b", "a\nb", "a*", "a$b", "a{", "eth0:1", "a@b",
                            "0123456789abcdef", "\xc3\xa4"}) {
      EXPECT_FALSE(CanBePatched(name)) << name;
   }
}

TEST(PatchRulesTest, ATablesNameTellsItsAdapter)
{
   EXPECT_EQ("eth0", ParsePatchTable(GetPatchTable("eth0")));
   EXPECT_FALSE(ParsePatchTable("tavrin-patch-"));
   EXPECT_FALSE(ParsePatchTable("tavrin-patch-a b"));
   EXPECT_FALSE(ParsePatchTable("tavrin-tvnet8"));
   EXPECT_FALSE(ParsePatchTable("filter"));
}

TEST(PatchRulesTest, EveryPlaceIsFilled)
{
   auto const rules = MakePatchRules({"eth0", 2, {{2, 0, 0, 0, 0, 1}}, "tvnet0", "tvp2", 9, false});
   EXPECT_EQ(std::string::npos, rules.find('$'));
   for (auto const* part :
        {"device \"eth0\"", "device \"tvp2\"", "device \"tvnet0\"", "fwd to 9", "fwd to 2",
         "dup to 9", "dup to 2", "ether saddr 02:00:00:00:00:01 drop"}) {
      EXPECT_NE(std::string::npos, rules.find(part)) << part;
   }
}

TEST(PatchRulesTest, PromiscuityIsNotedOnlyIfItIsOurs)
{
   for (bool const ours : {false, true}) {
      auto const rules =
         MakePatchRules({"eth0", 2, {{2, 0, 0, 0, 0, 1}}, "tvnet0", "tvp2", 9, ours});
      EXPECT_EQ(ours,
                rules.find("chain netdev tavrin-patch-eth0 promiscuous") != std::string::npos);
   }
   EXPECT_TRUE(IsPromiscuousNoted("table netdev x {\n\tchain promiscuous {\n\t}\n}\n"));
   EXPECT_FALSE(IsPromiscuousNoted("table netdev x {\n\tchain other {\n\t}\n}\n"));
   EXPECT_FALSE(IsPromiscuousNoted(""));
}

} // namespace

} // namespace vnet::host
