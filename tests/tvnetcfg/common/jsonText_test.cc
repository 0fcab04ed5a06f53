// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/jsonText.hh"

#include <boost/property_tree/json_parser.hpp>
#include <gtest/gtest.h>
#include <sstream>

namespace netcfg::common {

namespace {

std::string Repeat(std::string const& text, unsigned int times)
{
   std::string result;
   for (unsigned int i = 0; i < times; ++i) {
      result += text;
   }
   return result;
}

std::string Quote(std::string const& text)
{
   std::string json;
   AppendJsonString(json, text);
   return json;
}

} // namespace

TEST(NestingTest, TheLimitItselfIsAllowed)
{
   EXPECT_FALSE(NestsDeeperThan("[[[]]]", 3));
   EXPECT_TRUE(NestsDeeperThan("[[[]]]", 2));
   EXPECT_FALSE(NestsDeeperThan("", 0));
   EXPECT_TRUE(NestsDeeperThan("{", 0));
}

TEST(NestingTest, ObjectsAndArraysCountAlike)
{
   EXPECT_TRUE(NestsDeeperThan(R"({"a":[{"b":"c"}]})", 2));
   EXPECT_FALSE(NestsDeeperThan(R"({"a":[{"b":"c"}]})", 3));
}

TEST(NestingTest, NeighboursDoNotAddUp)
{
   EXPECT_FALSE(NestsDeeperThan("[" + Repeat("[],{},", 1000) + "[]]", 2));
}

TEST(NestingTest, BracketsInStringsDoNotCount)
{
   EXPECT_FALSE(NestsDeeperThan(R"({"[[{{":"[[[[[[[{{{{{"})", 1));
   EXPECT_FALSE(NestsDeeperThan(R"({"a":"]]}}[[","b":[]})", 2));
   EXPECT_TRUE(NestsDeeperThan(R"({"a":"]]}}","b":[]})", 1));
}

TEST(NestingTest, AnEscapedQuoteDoesNotEndAString)
{
   EXPECT_FALSE(NestsDeeperThan(R"(["\"[[[["])", 1));
   EXPECT_FALSE(NestsDeeperThan(R"(["\\\"[[[["])", 1));
   EXPECT_TRUE(NestsDeeperThan(R"(["\\",[]])", 1));
   EXPECT_FALSE(NestsDeeperThan(R"(["\u0022[[[["])", 1));
}

TEST(NestingTest, AStringWithoutAnEndTakesTheRest)
{
   EXPECT_FALSE(NestsDeeperThan(R"("[[[[)", 0));
   EXPECT_FALSE(NestsDeeperThan(R"("[[[[\)", 0));
}

TEST(NestingTest, ClosingWhatIsNotOpenEarnsNeitherCreditNorDebt)
{
   EXPECT_FALSE(NestsDeeperThan("]]]]}}}}[", 1));
   EXPECT_TRUE(NestsDeeperThan("]]]]}}}}[[", 1));
}

TEST(JsonStringTest, PlainTextIsQuoted)
{
   EXPECT_EQ("\"\"", Quote(""));
   EXPECT_EQ("\"Host only, 192.168.8.0~\x7F\"", Quote("Host only, 192.168.8.0~\x7F"));
}

TEST(JsonStringTest, AsciiIsEscapedAsTheJsonLibraryDoesIt)
{
   for (char c = 0; c < 127; ++c) {
      boost::property_tree::ptree tree;
      tree.put("key", std::string("a") + c + "b");
      std::ostringstream stream;
      boost::property_tree::write_json(stream, tree, false);
      EXPECT_EQ(stream.str(), "{\"key\":" + Quote(std::string("a") + c + "b") + "}\n");
   }
}

TEST(JsonStringTest, OtherCharactersBecomeEscapesWithCapitalHexDigits)
{
   EXPECT_EQ("\"B\\u00FCro\"", Quote("B\u00FCro"));
   EXPECT_EQ("\"\\u0080\\u07FF\\u0800\\uFFFF\"", Quote("\u0080\u07FF\u0800\uFFFF"));
   EXPECT_EQ("\"\\uABCD\\uFFFD\"", Quote("\uABCD\uFFFD"));
}

TEST(JsonStringTest, CharactersBeyondTheBasicPlaneBecomeSurrogatePairs)
{
   EXPECT_EQ("\"\\uD800\\uDC00\"", Quote("\U00010000"));
   EXPECT_EQ("\"\\uD834\\uDD1E\"", Quote("\U0001D11E"));
   EXPECT_EQ("\"\\uDBFF\\uDFFF\"", Quote("\U0010FFFF"));
}

} // namespace netcfg::common
