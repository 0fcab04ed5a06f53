// SPDX-License-Identifier: GPL-2.0-or-later
// What long texts cost. A quadratic operation would take some 250 times as long for 16 times the
// text, a linear one about 16 times; the bound lies between, so a busy machine doesn't matter.
#include "utf/string.hh"

#include "lib/utf/print.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>

namespace utf {
namespace {

constexpr size_t SMALL = 256 * 1024;
constexpr size_t FACTOR = 16;
constexpr double QUADRATIC = 100;

// Processor time of this process in seconds.
double Now()
{
   timespec now = {};
   clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
   return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string Repeat(std::string const& unit, size_t bytes)
{
   std::string text;
   text.reserve(bytes + unit.size());
   while (text.size() < bytes) {
      text += unit;
   }
   return text;
}

using Operation = std::function<void(string const&)>;

// The best of some runs, which disturbances can only lengthen.
double Measure(string const& text, Operation const& operation)
{
   double best = 1e9;
   for (int run = 0; run < 3; ++run) {
      double const start = Now();
      operation(text);
      best = std::min(best, Now() - start);
   }
   return best;
}

void ExpectLinear(std::string const& unit, Operation const& operation)
{
   string const small(Repeat(unit, SMALL).c_str());
   string const large(Repeat(unit, SMALL * FACTOR).c_str());
   // The clock's grain and the first page faults count for the small text.
   double const floor = 0.002;

   double const once = std::max(floor, Measure(small, operation));
   EXPECT_LT(Measure(large, operation) / once, QUADRATIC);
}

TEST(StringCostTest, SplittingIsLinear)
{
   ExpectLinear("\xC3\xBCx\n", [](string const& text) {
      ASSERT_EQ((text.bytes() + 3) / 4 + 1, text.split("\n", 0).size());
   });
}

// What matches almost everywhere, for half the length of a text of "a".
string AlmostHalf(string const& text)
{
   return string((std::string(text.bytes() / 2, 'a') + "b").c_str());
}

TEST(StringCostTest, SplittingAtWhatAlmostMatchesIsLinear)
{
   ExpectLinear("a",
                [](string const& text) { ASSERT_EQ(1u, text.split(AlmostHalf(text), 0).size()); });
}

TEST(StringCostTest, FindingWhatAlmostMatchesIsLinear)
{
   ExpectLinear("a", [](string const& text) {
      ASSERT_EQ(string::npos, text.find(AlmostHalf(text), 0));
      ASSERT_EQ(string::npos, text.find("\xC3\xBC", text.size() / 2));
   });
}

TEST(StringCostTest, CuttingAndCountingAreLinear)
{
   ExpectLinear("\xE2\x82\xAC", [](string const& text) {
      unsigned long const half = text.size() / 2;
      ASSERT_EQ(text.size() - half, text.substr(half, string::npos).size());
   });
}

TEST(StringCostTest, ComparingTheBeginningIsLinear)
{
   ExpectLinear("\xC3\x9C", [](string const& text) {
      ASSERT_TRUE(text.startsWith(text, false));
      ASSERT_TRUE(text.startsWith(text, true));
   });
}

TEST(StringCostTest, ReplacingIsLinear)
{
   ExpectLinear("x", [](string const& text) {
      std::string const bad(text.bytes(), '\xFF');
      ASSERT_EQ(text.size(), string(bad.c_str()).size());
   });
}

TEST(StringCostTest, ManyNulsAreLinear)
{
   ExpectLinear("x", [](string const& text) {
      std::string const nuls(text.bytes(), '\0');
      ASSERT_EQ(text.size(), string(nuls.data(), nuls.size()).size());
   });
}

TEST(StringCostTest, EightMebibytesSplitIntoTheirLines)
{
   string const text(Repeat("0123456789abcde\n", 8 * 1024 * 1024).c_str());

   std::vector<string> const lines = text.split("\n", 0);

   ASSERT_EQ(512u * 1024 + 1, lines.size());
   EXPECT_EQ(string("0123456789abcde"), lines.front());
   EXPECT_EQ(string("0123456789abcde"), lines[lines.size() - 2]);
   EXPECT_TRUE(lines.back().empty());
   EXPECT_EQ(2u, text.split("\n", 2).size());
}

TEST(StringCostTest, LongTextsThatBeginAlikeAreCutOffEarly)
{
   string const text(Repeat("Fail", 8 * 1024 * 1024).c_str());

   double const start = Now();
   for (int i = 0; i < 20000; ++i) {
      ASSERT_TRUE(text.startsWith("Fail", true));
   }
   // Folding the whole text each time would take minutes.
   EXPECT_LT(Now() - start, 10);
}

} // namespace
} // namespace utf
