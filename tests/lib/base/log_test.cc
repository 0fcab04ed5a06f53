// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/log.h"

#include "base/preferenceFiles.hh"
#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <sstream>
#include <sys/stat.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

namespace base {

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

Lines LinesOf(std::string const& path)
{
   std::istringstream text(test::ReadFile(path));
   Lines lines;
   for (std::string line; std::getline(text, line);) {
      lines.push_back(line);
   }
   return lines;
}

// A process's log is its own for good, so each test sets it up in a child.
class LogTest : public testing::Test {
protected:
   void SetUp() override
   {
      Dict_SetString(dict.get(), "netcfg.log.fileName", "log.config");
      Dict_SetString(dict.get(), "netcfg", "log.suffix");
   }

   std::string Directory() const { return folder.GetPath() / "state/tavrin"; }

   LogOutput* Start(int filePerProcess = 1) const
   {
      setenv("XDG_STATE_HOME", (folder.GetPath() / "state").c_str(), 1);
      Log_SetProductInfo("tavrin-netcfg", "1.2.3", "build-77", "release");
      return Log_InitWithFileInt("prefix", dict.get(), Log_CfgInterface(), filePerProcess);
   }

   // Starts and returns the file's path.
   std::string StartedPath(int filePerProcess = 1) const
   {
      LogOutput* output = Start(filePerProcess);
      EXPECT_NE(nullptr, output);
      return Log_GetOutputFileName(output);
   }

   void Prefer(std::string const& text) const
   {
      EXPECT_TRUE(LoadPreferences("/nonexistent", folder.Write("preferences", text)));
   }

   test::TempDir folder;
   std::unique_ptr<Dictionary, void (*)(Dictionary*)> dict{Dictionary_Create(), Dictionary_Free};
};

TEST_F(LogTest, TheFileIsNamedByTheSuffixAndTheProcess)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string path = StartedPath();
      EXPECT_EQ(Directory() + "/netcfg-" + std::to_string(getpid()) + ".log", path);
      struct stat status = {};
      ASSERT_EQ(0, lstat(path.c_str(), &status));
      EXPECT_EQ(S_IFREG | 0600u, status.st_mode);
   }));
}

TEST_F(LogTest, WithoutASuffixThePrefixNamesTheFile)
{
   Dict_SetString(dict.get(), nullptr, "log.suffix");
   EXPECT_TRUE(PassesInChild([this] {
      EXPECT_EQ(Directory() + "/prefix-" + std::to_string(getpid()) + ".log", StartedPath());
   }));
}

TEST_F(LogTest, TheSharedFileHasNoNumber)
{
   EXPECT_TRUE(PassesInChild([this] { EXPECT_EQ(Directory() + "/netcfg.log", StartedPath(0)); }));
   EXPECT_TRUE(PassesInChild([this] { EXPECT_THAT(LinesOf(StartedPath(0)), SizeIs(2)); }));
}

TEST_F(LogTest, WithoutAStateDirectoryTheHomesOneIsUsed)
{
   EXPECT_TRUE(PassesInChild([this] {
      setenv("XDG_STATE_HOME", "not/absolute", 1);
      setenv("HOME", folder.GetPath().c_str(), 1);
      LogOutput* output = Log_InitWithFileInt("netcfg", nullptr, nullptr, 1);
      ASSERT_NE(nullptr, output);
      EXPECT_EQ((folder.GetPath() / ".local/state/tavrin/netcfg-").string() +
                   std::to_string(getpid()) + ".log",
                Log_GetOutputFileName(output));
   }));
}

TEST_F(LogTest, TheFirstLineTellsTheProduct)
{
   EXPECT_TRUE(PassesInChild([this] {
      Log_SetLevel(LOG_SEVERITY_ERROR);
      Lines lines = LinesOf(StartedPath());
      ASSERT_THAT(lines, SizeIs(1));
      EXPECT_THAT(lines[0], EndsWith(" info Log of tavrin-netcfg version=1.2.3 build=build-77 "
                                     "option=release"));
   }));
}

TEST_F(LogTest, AProductOfNullsReadsAsEmpty)
{
   EXPECT_TRUE(PassesInChild([this] {
      setenv("XDG_STATE_HOME", folder.GetPath().c_str(), 1);
      Log_SetProductInfo("name", "1", "2", "3");
      Log_SetProductInfo(nullptr, nullptr, nullptr, nullptr);
      LogOutput* output = Log_InitWithFileInt("netcfg", nullptr, nullptr, 1);
      Lines lines = LinesOf(Log_GetOutputFileName(output));
      ASSERT_THAT(lines, SizeIs(1));
      EXPECT_THAT(lines[0], EndsWith(" info Log of  version= build= option="));
   }));
}

TEST_F(LogTest, LinesCarryTimeProcessAndLevel)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string path = StartedPath();
      Warning("PID: %u, log output: %s\n", 4711u, "there");
      Log("plain\n");
      LogV(LOG_SEVERITY_FAILURE, "%s: no.\n", "SetNATParam");
      Lines lines = LinesOf(path);
      ASSERT_THAT(lines, SizeIs(4));
      std::string stamp = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"
                          "[+-][0-9]{2}:[0-9]{2} " +
                          std::to_string(getpid()) + " ";
      for (std::string const& line : lines) {
         EXPECT_TRUE(std::regex_search(line, std::regex("^" + stamp))) << line;
      }
      EXPECT_THAT(lines[1], EndsWith(" warning PID: 4711, log output: there"));
      EXPECT_THAT(lines[2], EndsWith(" info plain"));
      EXPECT_THAT(lines[3], EndsWith(" failure SetNATParam: no."));
   }));
}

TEST_F(LogTest, ATextCannotForgeALine)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string path = StartedPath();
      Warning("%s\n", "x\n2024-01-01T00:00:00.000+00:00 1 info forged");
      Lines lines = LinesOf(path);
      ASSERT_THAT(lines, SizeIs(2));
      EXPECT_THAT(lines[1], EndsWith(" warning x\\n2024-01-01T00:00:00.000+00:00 1 info forged"));
   }));
}

TEST_F(LogTest, TheLevelIsThePreferencesUntilItIsSet)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string path = StartedPath();
      LogV(LOG_SEVERITY_TRACE, "by default\n");
      Prefer("log.level = \"7\"\n");
      LogV(LOG_SEVERITY_TRACE, "preferred\n");
      Prefer("log.level = \"1\"\n");
      Log("preferred not\n");
      Warning("always\n");
      Log_SetLevel(LOG_SEVERITY_INFO);
      Log("set\n");
      LogV(LOG_SEVERITY_DEFAULT, "set lower\n");
      Log_SetLevel(LOG_SEVERITY_ERROR);
      Warning("still always\n");
      LogV(LOG_SEVERITY_WARNING, "not by severity\n");
      LogV(LOG_SEVERITY_ERROR, "error\n");

      Lines lines = LinesOf(path);
      ASSERT_THAT(lines, SizeIs(6));
      EXPECT_THAT(lines[1], EndsWith(" trace preferred"));
      EXPECT_THAT(lines[2], EndsWith(" warning always"));
      EXPECT_THAT(lines[3], EndsWith(" info set"));
      EXPECT_THAT(lines[4], EndsWith(" warning still always"));
      EXPECT_THAT(lines[5], EndsWith(" error error"));
   }));
}

TEST_F(LogTest, AChildsLinesCarryItsOwnNumber)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string path = StartedPath();
      std::string child;
      HeldChild held([] { Warning("here\n"); });
      EXPECT_THAT(LinesOf(path).back(),
                  EndsWith(" " + std::to_string(held.GetPid()) + " warning here"));
   }));
}

TEST_F(LogTest, ThePreferenceThatTheDictionaryNamesReplacesTheWholePath)
{
   std::string chosen = folder.Write("chosen.txt", "older line\n");
   EXPECT_TRUE(PassesInChild([&] {
      Prefer("netcfg.log.fileName = \"" + chosen + "\"\n");
      EXPECT_EQ(chosen, StartedPath());
      Warning("text\n");
      Lines lines = LinesOf(chosen);
      ASSERT_THAT(lines, SizeIs(3));
      EXPECT_EQ("older line", lines[0]);
      EXPECT_THAT(lines[1], HasSubstr("Log of tavrin-netcfg"));
      EXPECT_THAT(lines[2], EndsWith(" warning text"));
   }));
   EXPECT_FALSE(fs::exists(Directory()));
}

TEST_F(LogTest, APreferenceThatTheDictionaryDoesNotNameIsNotLookedAt)
{
   Dict_SetString(dict.get(), nullptr, "log.config");
   EXPECT_TRUE(PassesInChild([this] {
      Prefer("netcfg.log.fileName = \"/nonexistent/log\"\nlog.config = \"/nonexistent/log\"\n");
      EXPECT_THAT(StartedPath(), HasSubstr(Directory()));
   }));
}

TEST_F(LogTest, AChosenPathThatWillNotDoIsToldAndTheUsualOneTaken)
{
   std::string victim = folder.Write("victim", "precious");
   std::string link = folder.GetPath() / "link";
   fs::create_symlink(victim, link);
   for (std::string const& path : {std::string("relative.log"), link, folder.GetPath().string()}) {
      EXPECT_TRUE(PassesInChild([&] {
         // The warnings come before the file is open, and must not reach the host's log.
         StartedPath();
         std::string first = Directory() + "/netcfg.log";
         Log_InitWithFileInt("netcfg", nullptr, nullptr, 0);
         Prefer("netcfg.log.fileName = \"" + path + "\"\n");
         EXPECT_EQ(Directory() + "/netcfg-" + std::to_string(getpid()) + ".log", StartedPath());
         EXPECT_THAT(test::ReadFile(first), HasSubstr(path));
      }));
   }
   EXPECT_EQ("precious", test::ReadFile(victim));
}

TEST_F(LogTest, AFileThatCannotBeIsNull)
{
   EXPECT_TRUE(PassesInChild([this] {
      std::string first = StartedPath(0);
      for (char const* suffix : {"", "../netcfg", "a/b", ".hidden", "a b"}) {
         Dict_SetString(dict.get(), suffix, "log.suffix");
         EXPECT_EQ(nullptr, Start()) << suffix;
      }
      Dict_SetString(dict.get(), "netcfg", "log.suffix");
      setenv("XDG_STATE_HOME", folder.Write("file", "").c_str(), 1);
      EXPECT_EQ(nullptr, Log_InitWithFileInt("netcfg", dict.get(), Log_CfgInterface(), 1));
      EXPECT_EQ(nullptr, Log_InitWithFileInt(nullptr, nullptr, nullptr, 1));
      EXPECT_THAT(test::ReadFile(first), HasSubstr("create directory "));
   }));
}

TEST_F(LogTest, ANullOutputHasAnEmptyName)
{
   EXPECT_STREQ("", Log_GetOutputFileName(nullptr));
}

} // namespace

} // namespace base
