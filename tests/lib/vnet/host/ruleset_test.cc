// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/ruleset.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/ping.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <gtest/gtest.h>

namespace vnet::host {

namespace {

class RulesetTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (!IsSkipped()) {
         ruleset.emplace();
      }
   }

   std::string GetFailure(std::string const& text)
   {
      try {
         ruleset->Run(text, "tvnet8");
         return "";
      } catch (Error const& error) {
         return error.what();
      }
   }

   std::string ListAll() { return GetHost().Command("nft list ruleset"); }

   std::optional<Ruleset> ruleset;
};

constexpr auto sample = R"(
table inet tavrin-tvnet8
delete table inet tavrin-tvnet8
table inet tavrin-tvnet8 {
   map forwards { type inet_service : ipv4_addr . inet_service; elements = { 80 : 10.0.0.1 . 8080 }; }
   chain in { type filter hook input priority 0; iifname "tvnet8" counter drop; }
}
)";

TEST_F(RulesetTest, ATextIsCarriedOut)
{
   ruleset->Run(sample, "tvnet8");
   auto const all = ListAll();
   EXPECT_NE(std::string::npos, all.find("80 : 10.0.0.1 . 8080")) << all;
   ruleset->Run(sample, "tvnet8");
   EXPECT_EQ(all, ListAll());
}

TEST_F(RulesetTest, ATextIsCarriedOutWholeOrNotAtAll)
{
   ruleset->Run(sample, "tvnet8");
   auto const before = ListAll();
   EXPECT_EQ("change rules of tvnet8: Could not process rule: No such file or directory",
             GetFailure("add table inet another\nadd rule inet tavrin-tvnet8 nothing accept\n"));
   EXPECT_EQ(before, ListAll());
}

TEST_F(RulesetTest, AMistakeInTheTextIsTold)
{
   EXPECT_EQ(0u, GetFailure("table inet {").find("change rules of tvnet8: syntax error"));
   EXPECT_EQ("", ListAll());
   // And isn't told again for the next.
   EXPECT_EQ("", GetFailure(sample));
}

TEST_F(RulesetTest, ACheckFindsMistakesAndChangesNothing)
{
   ruleset->Check(sample, "tvnet8");
   EXPECT_EQ("", ListAll());
   EXPECT_THROW(ruleset->Check("table inet {", "tvnet8"), Error);
   EXPECT_THROW(ruleset->Check("add rule inet nothing nothing accept", "tvnet8"), Error);
   ruleset->Run(sample, "tvnet8");
   EXPECT_NE("", ListAll());
}

TEST_F(RulesetTest, ATableIsListedWithoutItsCounts)
{
   EXPECT_EQ("", ruleset->List("inet", "tavrin-tvnet8"));
   EXPECT_EQ("", ruleset->ListJson("inet", "tavrin-tvnet8"));
   GetHost().Command(std::vector<std::string>{
      "nft", std::string(sample).replace(std::string(sample).find("\"tvnet8\""), 8, "\"lo\"")});
   ruleset->Run("table inet other { chain x { }; }", "other");
   auto const before = ruleset->List("inet", "tavrin-tvnet8");
   EXPECT_EQ(0u, before.find("table inet tavrin-tvnet8 {")) << before;
   EXPECT_EQ(std::string::npos, before.find("packets")) << before;
   EXPECT_EQ(std::string::npos, before.find("other")) << before;
   EXPECT_FALSE(netlab::Ping(GetHost(), "127.0.0.1", netlab::silence));
   EXPECT_EQ(before, ruleset->List("inet", "tavrin-tvnet8"));
   auto const json = ruleset->ListJson("inet", "tavrin-tvnet8");
   EXPECT_EQ('{', json.at(0));
   EXPECT_NE(std::string::npos, json.find("\"forwards\"")) << json;
}

TEST_F(RulesetTest, TablesOfOneFamilyAreListed)
{
   ruleset->Run("table inet a\ntable inet ab\ntable ip c\n", "x");
   EXPECT_EQ((std::vector<std::string>{"a", "ab"}), ruleset->ListTables("inet"));
   EXPECT_TRUE(ruleset->HasTable("inet", "a"));
   EXPECT_FALSE(ruleset->HasTable("inet", "b"));
   EXPECT_FALSE(ruleset->HasTable("inet", "c"));
   EXPECT_FALSE(ruleset->HasTable("netdev", "a"));
}

TEST_F(RulesetTest, ATextForOneTableDoesWhatItSays)
{
   std::string const replacement =
      "table inet a\ndelete table inet a\ntable inet a { chain c { }; }\n";
   ruleset->Run("table inet a { chain old { }; }\ntable inet b { chain kept { }; }\n", "x");
   auto const other = ruleset->List("inet", "b");

   ruleset->RunFor("inet", "a", replacement);
   EXPECT_EQ("table inet a {\n\tchain c {\n\t}\n}\n", ruleset->List("inet", "a"));
   EXPECT_EQ(other, ruleset->List("inet", "b"));
   ruleset->Delete("inet", "a");
   ruleset->RunFor("inet", "a", replacement);
   EXPECT_TRUE(ruleset->HasTable("inet", "a"));
}

TEST_F(RulesetTest, ABadTextForOneTableChangesNothing)
{
   ruleset->Run("table inet a { chain c { }; }\n", "x");
   auto const before = ruleset->List("inet", "a");
   EXPECT_THROW(
      ruleset->RunFor("inet", "a",
                      "delete table inet a\ntable inet a { chain d { jump nowhere; }; }\n"),
      Error);
   EXPECT_EQ(before, ruleset->List("inet", "a"));
   EXPECT_THROW(ruleset->RunFor("inet", "a", "nonsense\n"), Error);
   EXPECT_EQ(before, ruleset->List("inet", "a"));
}

TEST_F(RulesetTest, AFamilyThatIsNoneIsRefused)
{
   EXPECT_THROW(ruleset->ListTables("nonsense"), Error);
   EXPECT_THROW(ruleset->HasTable("nonsense", "a"), Error);
}

TEST_F(RulesetTest, DeletingWhatIsNotThereIsNoFailure)
{
   ruleset->Run("table inet a\ntable inet b\n", "x");
   ruleset->Delete("inet", "a");
   ruleset->Delete("inet", "a");
   EXPECT_EQ(std::vector<std::string>{"b"}, ruleset->ListTables("inet"));
}

// The context remembers tables between commands; others change them too.
TEST_F(RulesetTest, WhatOthersDidIsSeen)
{
   ruleset->Run(sample, "tvnet8");
   GetHost().Command("nft flush ruleset");
   EXPECT_FALSE(ruleset->HasTable("inet", "tavrin-tvnet8"));
   EXPECT_EQ("", ruleset->List("inet", "tavrin-tvnet8"));
   ruleset->Run(sample, "tvnet8");
   GetHost().Command("nft add chain inet tavrin-tvnet8 more");
   EXPECT_NE(std::string::npos, ruleset->List("inet", "tavrin-tvnet8").find("chain more"));
}

TEST_F(RulesetTest, TheSocketIsClosedForOtherPrograms)
{
   EXPECT_EQ(std::string::npos,
             GetHost()
                .Command(std::vector<std::string>{
                   "sh", "-c", "for f in /proc/self/fd/*; do readlink $f; done; true"})
                .find("socket:"));
}

} // namespace

} // namespace vnet::host
