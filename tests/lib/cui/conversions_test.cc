// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/conversions.hh"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cui {
namespace {

using Types = std::vector<std::string>;

struct Row {
   char const* format;
   Types types;
};

void ExpectAll(std::vector<Row> const& rows)
{
   for (Row const& row : rows) {
      EXPECT_EQ(row.types, GetConversions(row.format)) << row.format;
   }
}

TEST(ConversionsTest, EachLetterNamesAType)
{
   ExpectAll({{"%d %i", {"d", "d"}},
              {"%o %u %x %X", {"u", "u", "u", "u"}},
              {"%a%A%e%E%f%F%g%G", Types(8, "f")},
              {"%c %s %p %n", {"c", "s", "p", "n"}},
              {"%C %S", {"lc", "ls"}},
              {"%lc %ls", {"lc", "ls"}}});
}

TEST(ConversionsTest, ALengthMakesAnotherType)
{
   ExpectAll({{"%hhd %hd %ld %lld", {"hhd", "hd", "ld", "lld"}},
              {"%zu %ju %tu %Lf", {"zu", "ju", "tu", "Lf"}}});
}

TEST(ConversionsTest, FlagsAndWidthsDontMatter)
{
   ExpectAll({{"%5d %-5d %05d %+d % d %#x %'d", {"d", "d", "d", "d", "d", "u", "d"}},
              {"%.3s %10.3s %.f", {"s", "s", "f"}}});
}

TEST(ConversionsTest, AStarTakesAnArgumentOfItsOwn)
{
   ExpectAll({{"%*d", {"d", "d"}}, {"%.*s", {"d", "s"}}, {"%*.*f", {"d", "d", "f"}}});
}

TEST(ConversionsTest, NumbersPutArgumentsInTheirPlace)
{
   ExpectAll({{"%2$s has %1$d", {"d", "s"}},
              {"%1$s %1$s", {"s"}},
              {"%1$*2$d", {"d", "d"}},
              {"%2$-5s%1$u", {"u", "s"}}});
}

TEST(ConversionsTest, SomeTakeNothing)
{
   ExpectAll({{"", {}}, {"plain", {}}, {"100%%", {}}, {"%%d", {}}, {"%m", {}}});
}

TEST(ConversionsTest, WhatPrintfCantReadIsUnknown)
{
   ExpectAll({{"100%", {"?"}},
              {"%y", {"?"}},
              {"%s %", {"s", "?"}},
              {"%5", {"?"}},
              {"%l", {"?"}},
              {"% %", {"?"}},
              {"%\xC3\xBC", {"?"}},
              {"%lzu", {"?"}},
              {"%1$m", {"?"}}});
}

TEST(ConversionsTest, NumbersThatLeaveATypeOpenAreUnknown)
{
   ExpectAll({{"%1$s %s", {"s", "s", "?"}},
              {"%2$s", {"", "s", "?"}},
              {"%1$s %1$d", {"d", "?"}},
              {"%0$s", {"s", "?"}},
              {"%33$s", {"?"}},
              {"%99999999999999999999$s", {"s", "?"}}});
}

TEST(ConversionsTest, ACountlessFormatStaysSmall)
{
   std::string format;
   for (int i = 0; i < 1000; ++i) {
      format += "%d";
   }

   EXPECT_EQ(33u, GetConversions(format).size());
   EXPECT_EQ("?", GetConversions(format).back());
}

} // namespace
} // namespace cui
