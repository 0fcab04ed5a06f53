// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/text.hh"

#include <gtest/gtest.h>

using namespace std::literals;
using namespace vnet;

namespace {

TEST(PlainTextTest, CountsBytesNotCharacters)
{
   EXPECT_TRUE(IsPlainText("ää", 4));
   EXPECT_FALSE(IsPlainText("ää", 3));
   EXPECT_TRUE(IsPlainText("", 0));
}

TEST(PlainTextTest, TheEdgesOfTheControlCharactersAreSharp)
{
   EXPECT_FALSE(IsPlainText("\x1f", 9));
   EXPECT_TRUE(IsPlainText("\x20\x7e", 9));
   EXPECT_FALSE(IsPlainText("\x7f", 9));
   EXPECT_FALSE(IsPlainText("\xc2\x9f", 9));
   EXPECT_TRUE(IsPlainText("\xc2\xa0", 9));
   EXPECT_TRUE(IsPlainText("\xe2\x80\xa7", 9));
   EXPECT_FALSE(IsPlainText("\xe2\x80\xa8", 9));
   EXPECT_FALSE(IsPlainText("\xe2\x80\xa9", 9));
   EXPECT_TRUE(IsPlainText("\xe2\x80\xaa", 9));
}

TEST(QuoteTest, WhatCouldForgeALogLineIsEscaped)
{
   EXPECT_EQ("\"abc\"", Quote("abc"));
   EXPECT_EQ("\"a\\x0ab\\x00\"", Quote("a\nb\0"sv));
   EXPECT_EQ("\"\\x22\\x5c\"", Quote("\"\\"));
   EXPECT_EQ("\"\\xc3\\xa4\\x7f\"", Quote("\xc3\xa4\x7f"));
}

TEST(QuoteTest, ALongTextIsCut)
{
   EXPECT_EQ("\"" + std::string(64, 'x') + "\"", Quote(std::string(64, 'x')));
   EXPECT_EQ("\"" + std::string(64, 'x') + "...\"", Quote(std::string(65, 'x')));
}

} // namespace
