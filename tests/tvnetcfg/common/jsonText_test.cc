// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/jsonText.hh"

#include <gtest/gtest.h>

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

TEST(AsciiTest, AsciiStaysAsItIs)
{
   std::string ascii;
   for (char c = 1; c < 127; ++c) {
      ascii += c;
   }
   EXPECT_EQ(ascii, ToAsciiJson(ascii));
   EXPECT_EQ("", ToAsciiJson(""));
}

TEST(AsciiTest, OtherCharactersBecomeEscapesWithCapitalHexDigits)
{
   EXPECT_EQ("\"B\\u00FCro\"", ToAsciiJson("\"B\u00FCro\""));
   EXPECT_EQ("\\u0080\\u07FF\\u0800\\uFFFF", ToAsciiJson("\u0080\u07FF\u0800\uFFFF"));
   EXPECT_EQ("\\uABCD\\uFFFD", ToAsciiJson("\uABCD\uFFFD"));
}

TEST(AsciiTest, CharactersBeyondTheBasicPlaneBecomeSurrogatePairs)
{
   EXPECT_EQ("\\uD800\\uDC00", ToAsciiJson("\U00010000"));
   EXPECT_EQ("\\uD834\\uDD1E", ToAsciiJson("\U0001D11E"));
   EXPECT_EQ("\\uDBFF\\uDFFF", ToAsciiJson("\U0010FFFF"));
}

TEST(AsciiTest, ANulIsAByteLikeOthers)
{
   std::string const text("a\0\u00FC", 4);
   EXPECT_EQ(std::string("a\0\\u00FC", 8), ToAsciiJson(text));
}

} // namespace netcfg::common
