// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/config.h"

#include "capturedLog.hh"
#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>

using testing::HasSubstr;
using testing::Not;

namespace {

class ConfigTest : public testing::Test {
protected:
   bool Load(std::string const& text)
   {
      path = folder.Write("config", text);
      return Config_LoadFile(dict.get(), path.c_str());
   }
   std::string Get(char const* key) const { return Dict_GetString(dict.get(), "(none)", key); }

   test::TempDir folder;
   std::string path = folder.GetPath() / "config";
   base::CapturedLog log;
   std::unique_ptr<Dictionary, void (*)(Dictionary*)> dict{Dictionary_Create(), Dictionary_Free};
};

TEST_F(ConfigTest, SettingsCommentsAndBlankLinesAreRead)
{
   EXPECT_TRUE(Load("# a comment\n"
                    "\n"
                    "  \t\n"
                    "feature.mtu = \"no\"\n"
                    "\tlog.level=\"7\"  # the last word\r\n"
                    "empty = \"\"\n"
                    "hash = \"a # b\"\n"
                    "a_b-c = \"B\u00fcro\""));
   EXPECT_EQ("no", Get("feature.mtu"));
   EXPECT_EQ("7", Get("log.level"));
   EXPECT_EQ("", Get("empty"));
   EXPECT_EQ("a # b", Get("hash"));
   EXPECT_EQ("B\u00fcro", Get("a_b-c"));
   EXPECT_EQ("", log.GetText());
}

TEST_F(ConfigTest, QuotesAndBackslashesAreEscapedByABackslash)
{
   EXPECT_TRUE(Load(R"(key = "a \"b\" \\ c")"));
   EXPECT_EQ(R"(a "b" \ c)", Get("key"));
}

TEST_F(ConfigTest, TheLaterLineWins)
{
   EXPECT_TRUE(Load("key = \"one\"\nkey = \"two\"\n"));
   EXPECT_EQ("two", Get("key"));
}

TEST_F(ConfigTest, SettingsAreAddedToWhatIsThere)
{
   Dict_SetString(dict.get(), "old", "kept");
   Dict_SetString(dict.get(), "old", "changed");
   EXPECT_TRUE(Load("changed = \"new\"\n"));
   EXPECT_EQ("old", Get("kept"));
   EXPECT_EQ("new", Get("changed"));
}

TEST_F(ConfigTest, ABadLineIsSkippedWithAWarningThatTellsWhere)
{
   for (char const* bad :
        {"key", "key =", "key = value", "key = \"open", "key = \"open\\\"", "key = \"a\" b",
         "key = \"a\"b\"", "key \"a\"", "= \"a\"", "two words = \"a\"", "key = \"\\n\"",
         "k\u00e9y = \"a\"", "key = 'a'", "key == \"a\"", "\"key\" = \"a\"", "key = \"\\"}) {
      base::CapturedLog own;
      dict.reset(Dictionary_Create());
      EXPECT_TRUE(Load(std::string("first = \"1\"\n") + bad + "\nlast = \"3\"\n")) << bad;

      EXPECT_EQ("1", Get("first")) << bad;
      EXPECT_EQ("(none)", Get("key")) << bad;
      EXPECT_EQ("3", Get("last")) << bad;
      EXPECT_THAT(own.GetText(), HasSubstr(" warning settings " + path + ":2: ")) << bad;
      EXPECT_THAT(own.GetText(), Not(HasSubstr(path + ":1:"))) << bad;
      EXPECT_THAT(own.GetText(), Not(HasSubstr(path + ":3:"))) << bad;
   }
}

TEST_F(ConfigTest, AFileThatIsNotThereIsAsGoodAsAnEmptyOne)
{
   EXPECT_TRUE(Config_LoadFile(dict.get(), path.c_str()));
   EXPECT_TRUE(Config_LoadFile(dict.get(), (path + "/none/config").c_str()));
   EXPECT_TRUE(Load(""));
   EXPECT_EQ("", log.GetText());
}

TEST_F(ConfigTest, AFileOfOneMebibyteIsReadAndALargerOneIsNot)
{
   std::string text = "key = \"1\"\n";
   text.resize(1024 * 1024, '\n');
   EXPECT_TRUE(Load(text));
   EXPECT_EQ("1", Get("key"));

   EXPECT_FALSE(Load("key = \"2\"\n" + text.substr(9)));
   EXPECT_EQ("1", Get("key"));
   EXPECT_THAT(log.GetText(), HasSubstr("read settings " + path + ": larger than 1 MiB"));
}

TEST_F(ConfigTest, AFileThatIsNotUtf8IsNotRead)
{
   EXPECT_FALSE(Load("key = \"1\"\nother = \"\xff\"\n"));
   EXPECT_FALSE(Load(std::string("key = \"1\"\n\0", 11)));
   EXPECT_EQ("(none)", Get("key"));
   EXPECT_THAT(log.GetText(), HasSubstr("read settings " + path + ": not UTF-8 text"));
}

TEST_F(ConfigTest, ASymbolicLinkIsNotFollowed)
{
   std::string target = folder.Write("target", "key = \"1\"\n");
   ASSERT_EQ(0, symlink(target.c_str(), path.c_str()));

   EXPECT_FALSE(Config_LoadFile(dict.get(), path.c_str()));
   EXPECT_EQ("(none)", Get("key"));
   EXPECT_THAT(log.GetText(), HasSubstr("read settings " + path + ": Too many levels"));
}

TEST_F(ConfigTest, WhatIsNotARegularFileIsRefusedWithoutWaitingForIt)
{
   ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
   EXPECT_FALSE(Config_LoadFile(dict.get(), path.c_str()));
   EXPECT_FALSE(Config_LoadFile(dict.get(), folder.GetPath().c_str()));
   EXPECT_THAT(log.GetText(), HasSubstr("read settings " + path + ": not a regular file"));
}

TEST_F(ConfigTest, AFileThatMayNotBeReadIsAFailure)
{
   path = folder.Write("config", "key = \"1\"\n");
   ASSERT_EQ(0, chmod(path.c_str(), 0));
   ASSERT_EQ(0, chmod(folder.GetPath().c_str(), 0755));
   EXPECT_TRUE(base::PassesInChild([this] {
      if (geteuid() == 0) {
         base::BecomeNobody();
      }
      EXPECT_FALSE(Config_LoadFile(dict.get(), path.c_str()));
   }));
   EXPECT_THAT(log.GetText(), HasSubstr("read settings " + path + ": Permission denied"));
}

} // namespace
