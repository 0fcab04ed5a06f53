// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/tableDescription.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/ping.hh"
#include "vnet/host/ruleset.hh"

#include <cstring>
#include <gtest/gtest.h>
#include <ostream>

namespace vnet::host {

namespace {

constexpr auto table = "tavrin-tvnet8";

// Of everything that our tables may have in them.
std::string const sample = R"(
table inet tavrin-tvnet8
delete table inet tavrin-tvnet8
table inet tavrin-tvnet8 {
   ct timeout udp4 {
      protocol udp
      l3proto ip
      policy = { unreplied : 30, replied : 30 }
   }
   ct helper ftp {
      type "ftp" protocol tcp
      l3proto ip
   }
   map forwards {
      type inet_service : ipv4_addr . inet_service
      elements = { 80 : 10.0.0.1 . 8080, 81 : 10.0.0.2 . 8081, 7000 : 10.0.0.3 . 7 }
   }
   chain idle {
      type nat hook prerouting priority -100; policy accept;
   }
   chain in {
      type filter hook input priority 0; policy accept;
      iifname { "a", "b" } drop
      ip daddr 10.0.0.0/8 accept
      ct timeout set "udp4"
   }
   chain jumped-to {
      ip saddr 10.1.0.0-10.1.0.9 drop
   }
}
)";

class TableDescriptionTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      if (!IsSkipped()) {
         ruleset.emplace();
         ruleset->Run(sample, table);
      }
   }

   std::string Describe() { return ruleset->Describe("inet", table, {"idle", "in", "jumped-to"}); }

   std::optional<Ruleset> ruleset;
};

TEST_F(TableDescriptionTest, ATableThatIsntThereHasNone)
{
   EXPECT_NE("", Describe());
   EXPECT_EQ("", ruleset->Describe("inet", "nothing", {}));
   EXPECT_EQ("", ruleset->Describe("ip", table, {}));
   ruleset->Delete("inet", table);
   EXPECT_EQ("", Describe());
}

TEST_F(TableDescriptionTest, IsTheSameOfATableThatWasMadeAgain)
{
   auto const before = Describe();
   ruleset->Run(sample, table);
   EXPECT_EQ(before, Describe());
   ruleset->Delete("inet", table);
   ruleset->Run("table inet another { chain in { }; }", "another");
   ruleset->Run(sample, table);
   EXPECT_EQ(before, Describe());
}

// What somebody saved and loaded does the same.
TEST_F(TableDescriptionTest, IsTheSameOfATableThatWasListedAndLoaded)
{
   auto const before = Describe();
   auto const listing = GetHost().Command("nft list ruleset");
   GetHost().Command("nft flush ruleset");
   ASSERT_EQ("", Describe());
   GetHost().Command(std::vector<std::string>{"nft", listing});
   EXPECT_EQ(before, Describe());
}

TEST_F(TableDescriptionTest, TellsNothingOfOtherTablesAndOfPackets)
{
   auto const before = Describe();
   ruleset->Run(
      "table inet tavrin-tvnet88 { chain in { type filter hook input priority 0; drop; }; }",
      "another");
   ruleset->Run("table ip tavrin-tvnet8 { chain in { accept; }; }", "of another family");
   EXPECT_FALSE(netlab::Ping(GetHost(), "127.0.0.1", netlab::silence));
   EXPECT_EQ(before, Describe());
}

// What others do to a table of ours.
class AlteredTableTest : public TableDescriptionTest,
                         public testing::WithParamInterface<char const*> {};

TEST_P(AlteredTableTest, IsDescribedInOtherWords)
{
   auto const before = Describe();
   GetHost().Command(std::vector<std::string>{"nft", GetParam()});
   EXPECT_NE(before, Describe());
}

INSTANTIATE_TEST_SUITE_P(
   , AlteredTableTest,
   testing::Values(
      "flush table inet tavrin-tvnet8", "flush chain inet tavrin-tvnet8 in",
      "add rule inet tavrin-tvnet8 in accept", "insert rule inet tavrin-tvnet8 in accept",
      "add rule inet tavrin-tvnet8 idle counter", "delete chain inet tavrin-tvnet8 idle",
      "add rule inet tavrin-tvnet8 in jump jumped-to", "add chain inet tavrin-tvnet8 more",
      "add set inet tavrin-tvnet8 more { type mark; }", "add counter inet tavrin-tvnet8 more",
      "delete chain inet tavrin-tvnet8 idle; add chain inet tavrin-tvnet8 more",
      "delete chain inet tavrin-tvnet8 idle; add chain inet tavrin-tvnet8 idle",
      "add chain inet tavrin-tvnet8 idle { policy drop; }",
      "add element inet tavrin-tvnet8 forwards { 82 : 10.0.0.1 . 8080 }",
      "delete element inet tavrin-tvnet8 forwards { 80 }",
      "delete ct helper inet tavrin-tvnet8 ftp",
      "add table inet tavrin-tvnet8 { flags dormant; }"));

struct Difference {
   char const* there;
   char const* other;
};

// For GoogleTest, which names the case in a failure.
void PrintTo(Difference const& difference, std::ostream* out)
{
   *out << difference.there << " -> " << difference.other;
}

class OtherTableTest : public TableDescriptionTest,
                       public testing::WithParamInterface<Difference> {};

TEST_P(OtherTableTest, IsDescribedInOtherWords)
{
   auto const before = Describe();
   auto text = sample;
   auto const at = text.find(GetParam().there);
   ASSERT_NE(std::string::npos, at);
   ruleset->Run(text.replace(at, std::strlen(GetParam().there), GetParam().other), table);
   EXPECT_NE(before, Describe());
   ruleset->Run(sample, table);
   EXPECT_EQ(before, Describe());
}

INSTANTIATE_TEST_SUITE_P(
   , OtherTableTest,
   testing::Values(
      Difference{"priority -100", "priority -99"},
      Difference{"nat hook prerouting", "nat hook input"},
      Difference{"policy accept;\n      iifname", "policy drop;\n      iifname"},
      Difference{"\"a\", \"b\"", "\"a\", \"c\""}, Difference{"10.0.0.0/8", "10.0.0.0/9"},
      Difference{"accept\n      ct timeout set \"udp4\"", "ct timeout set \"udp4\"\n      accept"},
      Difference{"10.1.0.9", "10.1.0.8"}, Difference{"10.0.0.2 . 8081", "10.0.0.2 . 8080"},
      Difference{"unreplied : 30", "unreplied : 31"},
      Difference{"tcp\n      l3proto ip", "tcp\n      l3proto ip6"}));

} // namespace

} // namespace vnet::host
