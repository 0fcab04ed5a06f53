// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/keyFile.hh"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace std::literals;
using vnet::KeyFile;

namespace {

std::string const sample = "# first\n"
                           "\n"
                           "[a]\n"
                           "  one =  1 \n"
                           "# below one\n"
                           "two=2\n"
                           "\n"
                           "# about b\n"
                           "[b]\n"
                           "# inside b\n"
                           "three=3\n"
                           "# last of b\n"
                           "\n"
                           "# about c\n"
                           "[c]\n"
                           "# end\n";

TEST(KeyFileTest, WhatIsNotChangedStaysToTheByte)
{
   EXPECT_EQ(sample, KeyFile::Parse(sample).ToText());
}

TEST(KeyFileTest, ALastLineGetsItsNewline)
{
   EXPECT_EQ("[a]\nk=1\n", KeyFile::Parse("[a]\nk=1").ToText());
}

TEST(KeyFileTest, GivesValuesWithoutTheWhiteSpaceAround)
{
   auto const file = KeyFile::Parse(sample);

   EXPECT_EQ("1", file.GetRaw("a", "one"));
   EXPECT_EQ("3", file.GetRaw("b", "three"));
   EXPECT_FALSE(file.GetRaw("a", "three"));
   EXPECT_FALSE(file.GetRaw("d", "one"));
   EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), file.GetGroups());
   EXPECT_EQ((std::vector<std::string>{"one", "two"}), file.GetKeys("a"));
   EXPECT_TRUE(file.GetKeys("d").empty());
}

TEST(KeyFileTest, SettingAKeyTouchesItsLineAlone)
{
   auto file = KeyFile::Parse(sample);
   file.Set("a", "one", "11");

   auto expected = sample;
   expected.replace(expected.find("1 \n"), 3, "11\n");
   EXPECT_EQ(expected, file.ToText());
}

TEST(KeyFileTest, ANewKeyStandsBehindTheLastOneOfItsGroup)
{
   auto file = KeyFile::Parse(sample);
   file.Set("a", "new", "x");
   file.Set("b", "new", "y");
   file.Set("c", "new", "z");

   EXPECT_EQ("# first\n\n[a]\n  one =  1 \n# below one\ntwo=2\nnew=x\n\n# about b\n[b]\n"
             "# inside b\nthree=3\nnew=y\n# last of b\n\n# about c\n[c]\nnew=z\n# end\n",
             file.ToText());
}

TEST(KeyFileTest, ANewGroupStandsApartAtTheEnd)
{
   auto file = KeyFile::Parse("[a]\nk=1\n");
   file.Set("b", "k", "2");
   file.Set("c", "k", "3");

   EXPECT_EQ("[a]\nk=1\n\n[b]\nk=2\n\n[c]\nk=3\n", file.ToText());
}

TEST(KeyFileTest, ARemovedKeyLeavesTheCommentsAroundIt)
{
   auto file = KeyFile::Parse(sample);
   file.RemoveKey("b", "three");
   file.RemoveKey("b", "four");

   EXPECT_NE(std::string::npos, file.ToText().find("[b]\n# inside b\n# last of b\n"));
}

TEST(KeyFileTest, ARemovedGroupLeavesTheCommentsOfOthersAndAboveIt)
{
   auto file = KeyFile::Parse(sample);
   file.RemoveGroup("b");
   EXPECT_EQ("# first\n\n[a]\n  one =  1 \n# below one\ntwo=2\n\n# about b\n# about c\n[c]\n"
             "# end\n",
             file.ToText());

   file.RemoveGroup("c");
   EXPECT_EQ("# first\n\n[a]\n  one =  1 \n# below one\ntwo=2\n\n# about b\n# about c\n",
             file.ToText());
   EXPECT_FALSE(file.HasGroup("c"));
   file.RemoveGroup("c");
   EXPECT_TRUE(file.HasGroup("a"));
}

TEST(KeyFileTest, ABlankGroupGoesAndOneWithACommentStays)
{
   auto file = KeyFile::Parse("[a]\nk=1\n\n[b]\n# mine\nk=1\n");
   file.RemoveKey("a", "k");
   file.RemoveKey("b", "k");
   file.RemoveIfBlank("a");
   file.RemoveIfBlank("b");

   EXPECT_EQ("[b]\n# mine\n", file.ToText());
}

TEST(KeyFileTest, EveryLineOfTextIsReadBackAsItWasSet)
{
   for (auto const& text :
        {"plain"s, " leading"s, "trailing "s, "  "s, " "s, "back\\slash"s, "\\"s, "\\s"s,
         "#no comment"s, "[no group]"s, "a=b"s, "a;b"s, "ä"s, ""s, "a  b"s, "\\\\ "s}) {
      auto file = KeyFile::Parse("[a]\nk=old\n");
      file.Set("a", "k", text);
      file.Set("a", "new", text);

      auto const again = KeyFile::Parse(file.ToText());
      EXPECT_EQ(text, KeyFile::Unescape(again.GetRaw("a", "k").value())) << text;
      EXPECT_EQ(text, KeyFile::Unescape(again.GetRaw("a", "new").value())) << text;
   }
}

TEST(KeyFileTest, AnUnknownEscapeHasNoText)
{
   EXPECT_EQ(" \n\t\r\\", KeyFile::Unescape("\\s\\n\\t\\r\\\\"));
   EXPECT_FALSE(KeyFile::Unescape("a\\q"));
   EXPECT_FALSE(KeyFile::Unescape("a\\"));
   EXPECT_FALSE(KeyFile::Unescape("\\x41"));
}

TEST(KeyFileTest, OtherTextsAreRefused)
{
   std::string_view const bad[] = {
      "k=1\n",          "[a\nk=1\n",   "[a] x\n",
      "[a]\nk\n",       "[a]\n=1\n",   "[]\n",
      "[a]b]\n",        "[a]\nk[=1\n", "\xef\xbb\xbf[a]\n",
      "\xff\n",         "[a]\nk=\xc3", "\0"sv,
      "[a]\nk=\0v\n"sv, "junk",        "# only a comment\n",
      "\n\n",
   };
   for (auto const text : bad) {
      EXPECT_THROW(KeyFile::Parse(text), std::runtime_error) << text;
   }
}

TEST(KeyFileTest, TheFirstLineThatDoesNotBelongThereIsTold)
{
   auto const tell = [](std::string_view text) -> std::string {
      try {
         KeyFile::Parse(text);
      } catch (std::runtime_error const& error) {
         return error.what();
      }
      return "";
   };
   EXPECT_EQ("It is not a key file: line 3, \"junk\"", tell("[a]\nk=1\njunk\n[b]\nrubbish"));
   EXPECT_EQ("It is not a key file: line 1, \"k=1\"", tell("k=1\n[a]\n"));
   EXPECT_EQ("It is not a key file: line 2, \"[a\"", tell("\n[a"));
}

TEST(KeyFileTest, WhatStandsTwiceIsRefused)
{
   EXPECT_THROW(KeyFile::Parse("[a]\n[b]\n[a]\n"), std::runtime_error);
   EXPECT_THROW(KeyFile::Parse("[a]\nk=1\nk=1\n"), std::runtime_error);
   EXPECT_THROW(KeyFile::Parse("[a]\nk=1\n k = 2\n"), std::runtime_error);
   EXPECT_NO_THROW(KeyFile::Parse("[a]\nk=1\n[b]\nk=1\n"));
}

TEST(KeyFileTest, TheLinesOfOtherSystemsAreRead)
{
   auto file = KeyFile::Parse("[a]\r\nk=1\r\nempty=\r\n");

   EXPECT_EQ("1", file.GetRaw("a", "k"));
   EXPECT_EQ("", file.GetRaw("a", "empty"));
   file.Set("a", "empty", "x");
   EXPECT_EQ("x", file.GetRaw("a", "empty"));
}

} // namespace
