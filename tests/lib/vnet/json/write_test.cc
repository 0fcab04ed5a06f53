// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/json/text.hh"

#include <gtest/gtest.h>

namespace vnet::json {

namespace {

TEST(JsonWriteTest, ValuesStandInTheirOrder)
{
   auto object = Value::MakeObject();
   object.Add("z", 1).Add("a", Value::MakeList({"x", "y"})).Add("n", Value()).Add("b", true);
   object.Add("e", Value::MakeList()).Add("o", Value::MakeObject()).Add("l", -5L);
   EXPECT_EQ("{\n"
             "  \"z\": 1,\n"
             "  \"a\": [\n"
             "    \"x\",\n"
             "    \"y\"\n"
             "  ],\n"
             "  \"n\": null,\n"
             "  \"b\": true,\n"
             "  \"e\": [],\n"
             "  \"o\": {},\n"
             "  \"l\": -5\n"
             "}\n",
             Write(object));
}

TEST(JsonWriteTest, TextsAreReadBackAsTheyWere)
{
   for (auto const* text : {"", "Büro", "a\"b\\c", "\t\n\x1b[31m", "\x7f",
                            "\xc2\x9b"
                            "31m",
                            "\xe2\x80\xae"
                            "x",
                            "\xe2\x81\xa6", "日本"}) {
      EXPECT_EQ(text, Parse(Write(text)).text);
   }
}

TEST(JsonWriteTest, NothingThatATerminalActsOnIsWritten)
{
   EXPECT_EQ("\"\\u001b\\u007f\\u009b\\u0080\\u2028\\u202e\\u2066\\u2069\"\n",
             Write("\x1b\x7f\xc2\x9b\xc2\x80\xe2\x80\xa8\xe2\x80\xae\xe2\x81\xa6\xe2\x81\xa9"));
   // Their neighbours stand: U+00A0, U+2027, U+202F, U+2065, U+206A.
   std::string const harmless = "\xc2\xa0\xe2\x80\xa7\xe2\x80\xaf\xe2\x81\xa5\xe2\x81\xaa";
   EXPECT_EQ("\"" + harmless + "\"\n", Write(harmless));
}

TEST(JsonWriteTest, WhatIsNoUtf8IsReplaced)
{
   EXPECT_EQ("\"a\xef\xbf\xbd"
             "b\"\n",
             Write("a\xff"
                   "b"));
}

} // namespace

} // namespace vnet::json
