// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/json/text.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

namespace vnet::json {

namespace {

using testing::StartsWith;

std::string GetComplaint(std::string_view text)
{
   try {
      Parse(text);
   } catch (std::runtime_error const& error) {
      return error.what();
   }
   return "none";
}

TEST(JsonParseTest, ValuesOfEveryKindAreRead)
{
   auto const value = Parse(R"({"a": null, "b": true, "c": [1, -2, 1.50, 18446744073709551615],
                              "d": "t\u00e4xt\n", "e": {}})");
   ASSERT_EQ(Kind::Object, value.kind);
   ASSERT_EQ(5u, value.members.size());
   EXPECT_EQ("a", value.members[0].name);
   EXPECT_EQ(Kind::Null, value.members[0].value.kind);
   EXPECT_EQ(Kind::Boolean, value.members[1].value.kind);
   EXPECT_TRUE(value.members[1].value.boolean);
   std::vector<std::string> numbers;
   for (auto const& item : value.members[2].value.items) {
      EXPECT_EQ(Kind::Number, item.kind);
      numbers.push_back(item.text);
   }
   EXPECT_EQ((std::vector<std::string>{"1", "-2", "1.50", "18446744073709551615"}), numbers);
   EXPECT_EQ("täxt\n", value.members[3].value.text);
   EXPECT_EQ(Kind::Object, value.members[4].value.kind);
}

TEST(JsonParseTest, EachValueAndNameKnowsItsPlace)
{
   auto const value = Parse("{\n  \"na\\\"me\": [12,\n\ttrue, \"a\\\\\"],\n \"x\":-5}");
   EXPECT_EQ("line 1, column 1", ToString(value.position));
   auto const& list = value.members[0];
   EXPECT_EQ("line 2, column 3", ToString(list.position));
   EXPECT_EQ("line 2, column 13", ToString(list.value.position));
   EXPECT_EQ("line 2, column 14", ToString(list.value.items[0].position));
   EXPECT_EQ("line 3, column 2", ToString(list.value.items[1].position));
   EXPECT_EQ("line 3, column 8", ToString(list.value.items[2].position));
   EXPECT_EQ("line 4, column 2", ToString(value.members[1].position));
   EXPECT_EQ("line 4, column 6", ToString(value.members[1].value.position));
   EXPECT_EQ("line 1, column 2", ToString(Parse(" 7").position));
   EXPECT_EQ("line 1, column 1", ToString(Parse("\"\"").position));
}

TEST(JsonParseTest, ANameThatStandsTwiceIsKeptTwice)
{
   EXPECT_EQ(2u, Parse(R"({"a": 1, "a": 2})").members.size());
}

TEST(JsonParseTest, WhatIsNoJsonIsRefusedWithItsPlace)
{
   EXPECT_THAT(GetComplaint("{\n  \"a\": }"), StartsWith("line 2, column 8: "));
   EXPECT_THAT(GetComplaint("[1, 2"), StartsWith("line 1, column 5: "));
   for (auto const* text :
        {"", " ", "{", "[1,]", "{\"a\" 1}", "{a: 1}", "'a'", "01", "+1", "nul", "1 2", "{} x",
         "\"\x01\"", "\"\xff\"", "[NaN]", "// a\n1", "\"\\ud800\""}) {
      EXPECT_THAT(GetComplaint(text), StartsWith("line 1, column ")) << text;
   }
   EXPECT_THAT(GetComplaint(std::string_view("1\0", 2)), StartsWith("line 1, column 2: "));
   EXPECT_NE("none", GetComplaint("1e999"));
}

TEST(JsonParseTest, NoComplaintRepeatsWhatItRead)
{
   for (auto const* text : {"[\"\xc2\x9b\x7f\" x", "{\"\xc2\x9b", "\xc2\x9b", "[\x1b"}) {
      auto const complaint = GetComplaint(text);
      EXPECT_THAT(complaint, StartsWith("line 1, column "));
      EXPECT_EQ(std::string::npos, complaint.find_first_of("\xc2\x9b\x7f\x1b")) << text;
   }
}

TEST(JsonParseTest, DepthHasABound)
{
   std::string const deep(maxDepth, '[');
   std::string const end(maxDepth, ']');
   EXPECT_EQ("none", GetComplaint(deep + end));
   EXPECT_EQ("line 1, column 17: It is nested more than 16 deep", GetComplaint(deep + "[]" + end));
   EXPECT_THAT(GetComplaint(std::string(5000000, '[')), StartsWith("line 1, column 17: "));
}

TEST(JsonParseTest, TheNumberOfValuesHasABound)
{
   std::string text = "[0";
   for (std::size_t count = 2; count < maxValues; ++count) {
      text += ",0";
   }
   EXPECT_EQ("none", GetComplaint(text + "]"));
   EXPECT_THAT(GetComplaint(text + ",0]"),
               testing::EndsWith(": There are more than 500000 values"));
}

} // namespace

} // namespace vnet::json
