// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logFile.hh"

#include "forkedTest.hh"
#include "support/testProcess.hh"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <sys/time.h>

using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace base {

namespace {

namespace fs = std::filesystem;

class LogFileTest : public testing::Test {
protected:
   std::string Path(std::string const& name) const { return Directory() + '/' + name; }
   std::string Directory() const { return folder.GetPath() / "tavrin"; }

   void MakeOwnDirectory() const { ASSERT_EQ(0, mkdir(Directory().c_str(), 0700)); }

   // A file of that many seconds after an early time.
   void MakeOldFile(std::string const& name, int seconds) const
   {
      folder.Write("tavrin/" + name, "old");
      timeval times[2] = {{1000000 + seconds, 0}, {1000000 + seconds, 0}};
      ASSERT_EQ(0, utimes(Path(name).c_str(), times));
   }

   std::set<std::string> Names() const
   {
      std::set<std::string> names;
      for (fs::directory_entry const& entry : fs::directory_iterator(Directory())) {
         names.insert(entry.path().filename());
      }
      return names;
   }

   static void Write(LogFile const& file, std::string const& text)
   {
      ASSERT_TRUE(file.file.IsOpen()) << file.error;
      ASSERT_EQ(static_cast<ssize_t>(text.size()),
                write(file.file.Get(), text.data(), text.size()));
   }

   static void ExpectMode(mode_t mode, std::string const& path)
   {
      struct stat status = {};
      ASSERT_EQ(0, lstat(path.c_str(), &status));
      EXPECT_EQ(mode, status.st_mode) << path;
   }

   static void ExpectRefused(LogFile const& file, std::string const& cause)
   {
      EXPECT_FALSE(file.file.IsOpen());
      EXPECT_THAT(file.error, HasSubstr(cause));
   }

   test::TempDir folder;
};

TEST_F(LogFileTest, FileAndDirectoryAreTheUsersAloneWhateverTheMask)
{
   EXPECT_TRUE(PassesInChild([this] {
      umask(0);
      LogFile made = CreateLogFile(Directory(), "netcfg", 42);
      EXPECT_EQ(Path("netcfg-42.log"), made.path);
      EXPECT_EQ("", made.error);
      umask(0277);
      CreateLogFile(Directory(), "netcfg", 43);
   }));
   ExpectMode(S_IFDIR | 0700, Directory());
   ExpectMode(S_IFREG | 0600, Path("netcfg-42.log"));
   ExpectMode(S_IFREG | 0600, Path("netcfg-43.log"));
}

TEST_F(LogFileTest, LinesAreAppendedAndTheDescriptorIsNotInherited)
{
   LogFile file = CreateLogFile(Directory(), "netcfg", 42);
   ASSERT_TRUE(file.file.IsOpen());
   EXPECT_EQ(O_WRONLY | O_APPEND, fcntl(file.file.Get(), F_GETFL) & (O_ACCMODE | O_APPEND));
   EXPECT_EQ(FD_CLOEXEC, fcntl(file.file.Get(), F_GETFD));
}

TEST_F(LogFileTest, AnOldFileOfTheSameNumberIsReplaced)
{
   MakeOwnDirectory();
   MakeOldFile("netcfg-42.log", 0);
   ASSERT_EQ(0, chmod(Path("netcfg-42.log").c_str(), 0666));
   FileDescriptor old(open(Path("netcfg-42.log").c_str(), O_RDONLY));
   Write(CreateLogFile(Directory(), "netcfg", 42), "new");

   char buffer[8] = {};
   EXPECT_EQ("new", test::ReadFile(Path("netcfg-42.log")));
   ExpectMode(S_IFREG | 0600, Path("netcfg-42.log"));
   // Whoever had the old one open doesn't read along.
   EXPECT_EQ(3, read(old.Get(), buffer, sizeof buffer));
   EXPECT_STREQ("old", buffer);
}

TEST_F(LogFileTest, ASymbolicLinkInItsPlaceIsReplacedAndItsTargetLeftAlone)
{
   MakeOwnDirectory();
   std::string victim = folder.Write("victim", "precious");
   ASSERT_EQ(0, symlink(victim.c_str(), Path("netcfg-42.log").c_str()));
   Write(CreateLogFile(Directory(), "netcfg", 42), "new");

   EXPECT_EQ("precious", test::ReadFile(victim));
   EXPECT_EQ("new", test::ReadFile(Path("netcfg-42.log")));
   ExpectMode(S_IFREG | 0600, Path("netcfg-42.log"));
}

TEST_F(LogFileTest, ADanglingLinkMakesNoFileElsewhere)
{
   MakeOwnDirectory();
   std::string elsewhere = folder.GetPath() / "elsewhere";
   ASSERT_EQ(0, symlink(elsewhere.c_str(), Path("netcfg-42.log").c_str()));
   Write(CreateLogFile(Directory(), "netcfg", 42), "new");

   EXPECT_FALSE(fs::exists(elsewhere));
}

TEST_F(LogFileTest, ALinkInTheDirectorysPlaceIsRefused)
{
   fs::create_directory(folder.GetPath() / "elsewhere");
   fs::create_symlink(folder.GetPath() / "elsewhere", Directory());

   ExpectRefused(CreateLogFile(Directory(), "netcfg", 42),
                 "create directory " + Directory() + ": ");
   EXPECT_TRUE(fs::is_empty(folder.GetPath() / "elsewhere"));
}

TEST_F(LogFileTest, WhatCannotBeReplacedIsAFailureThatTellsItsCause)
{
   MakeOwnDirectory();
   fs::create_directory(Path("netcfg-42.log"));

   ExpectRefused(CreateLogFile(Directory(), "netcfg", 42),
                 "create log " + Path("netcfg-42.log") + ": ");
}

TEST_F(LogFileTest, TheTenNewestAreKeptTheNewOneIncluded)
{
   MakeOwnDirectory();
   // Neither the numbers nor the order of their making tells the age.
   for (int age : {3, 11, 0, 7, 14, 1, 9, 5, 12, 2, 13, 4, 10, 6, 8}) {
      MakeOldFile("netcfg-" + std::to_string(100 + age * 7 % 15) + ".log", age);
   }
   std::set<std::string> expected = {"netcfg-42.log"};
   for (int age = 14; age > 14 - 9; --age) {
      expected.insert("netcfg-" + std::to_string(100 + age * 7 % 15) + ".log");
   }
   ASSERT_EQ(15u, Names().size());
   CreateLogFile(Directory(), "netcfg", 42);

   EXPECT_EQ(expected, Names());
}

TEST_F(LogFileTest, TheNewOneStaysEvenAmongFilesOfTheFuture)
{
   MakeOwnDirectory();
   for (int i = 0; i < 12; ++i) {
      MakeOldFile("netcfg-" + std::to_string(100 + i) + ".log", 2000000000 + i);
   }
   CreateLogFile(Directory(), "netcfg", 42);

   EXPECT_EQ(10u, Names().size());
   EXPECT_EQ(1u, Names().count("netcfg-42.log"));
}

TEST_F(LogFileTest, NineOlderFilesAreLeftAlone)
{
   MakeOwnDirectory();
   for (int i = 0; i < 9; ++i) {
      MakeOldFile("netcfg-" + std::to_string(100 + i) + ".log", i);
   }
   CreateLogFile(Directory(), "netcfg", 42);

   EXPECT_EQ(10u, Names().size());
}

TEST_F(LogFileTest, WhatOnlyLooksLikeALogIsNeverRemoved)
{
   MakeOwnDirectory();
   for (int i = 0; i < 10; ++i) {
      MakeOldFile("netcfg-" + std::to_string(100 + i) + ".log", 1000 + i);
   }
   std::set<std::string> others = {
      "netcfg-.log",  "netcfg-1x.log", "netcfg--1.log", "netcfg-1.log.gz",
      "netcfg-1.LOG", "xnetcfg-1.log", "netcfgx-1.log", "netcfg-1.2.log",
      "other-1.log",  "netcfg.log",    "netcfg-1",      "netcfg-1-1.log",
      "netcfg.1.log", "netcfgx1.log",  "xetcfg-1.log",  "netcfg-\xd9\xa1.log"};
   for (std::string const& name : others) {
      MakeOldFile(name, 0);
   }
   others.insert({"netcfg-7.log", "netcfg-8.log", "netcfg-9.log"});
   fs::create_directory(Path("netcfg-7.log"));
   fs::create_symlink("netcfg.log", Path("netcfg-8.log"));
   ASSERT_EQ(0, mkfifo(Path("netcfg-9.log").c_str(), 0600));
   CreateLogFile(Directory(), "netcfg", 42);

   std::set<std::string> names = Names();
   for (std::string const& name : others) {
      EXPECT_EQ(1u, names.count(name)) << name;
   }
   EXPECT_EQ(others.size() + 10, names.size());
   EXPECT_EQ(0u, names.count("netcfg-100.log"));
}

TEST_F(LogFileTest, AnotherUsersFilesAreNotRemoved)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "only root can give files away";
   }
   MakeOwnDirectory();
   for (int i = 0; i < 15; ++i) {
      MakeOldFile("netcfg-" + std::to_string(100 + i) + ".log", i);
      ASSERT_EQ(0, chown(Path("netcfg-" + std::to_string(100 + i) + ".log").c_str(), NOBODY, 0));
   }
   CreateLogFile(Directory(), "netcfg", 42);

   EXPECT_EQ(16u, Names().size());
}

TEST_F(LogFileTest, TheSharedFileGrowsAndOthersAreKept)
{
   Write(AppendLogFile(Directory(), "netcfg"), "one ");
   LogFile second = AppendLogFile(Directory(), "netcfg");
   Write(second, "two");

   EXPECT_EQ(Path("netcfg.log"), second.path);
   EXPECT_EQ("one two", test::ReadFile(second.path));
   ExpectMode(S_IFREG | 0600, second.path);
}

TEST_F(LogFileTest, AFileOfTheUsersChoiceGrowsAndBecomesHisAlone)
{
   std::string path = folder.Write("chosen", "old ");
   ASSERT_EQ(0, chmod(path.c_str(), 0666));
   Write(AppendLogFileAt(path), "new");

   EXPECT_EQ("old new", test::ReadFile(path));
   ExpectMode(S_IFREG | 0600, path);
}

TEST_F(LogFileTest, AChosenFileIsNeitherFollowedNorSharedNorAwaited)
{
   std::string victim = folder.Write("victim", "precious");
   std::string path = folder.GetPath() / "chosen";
   ASSERT_EQ(0, symlink(victim.c_str(), path.c_str()));
   ExpectRefused(AppendLogFileAt(path), "open log " + path + ": Too many levels");

   fs::remove(path);
   fs::create_hard_link(victim, path);
   ExpectRefused(AppendLogFileAt(path), "open log " + path + ": Operation not permitted");

   fs::remove(path);
   ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
   ExpectRefused(AppendLogFileAt(path), "open log " + path + ": No such device or address");
   FileDescriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
   ExpectRefused(AppendLogFileAt(path), "open log " + path + ": Operation not permitted");

   ExpectRefused(AppendLogFileAt(folder.GetPath() / "none/chosen"), "No such file or directory");
   EXPECT_EQ("precious", test::ReadFile(victim));
}

TEST_F(LogFileTest, AnotherUsersFileIsNotTaken)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "only root can give files away";
   }
   std::string path = folder.Write("chosen", "theirs");
   ASSERT_EQ(0, chown(path.c_str(), NOBODY, 0));

   ExpectRefused(AppendLogFileAt(path), "Operation not permitted");
}

TEST_F(LogFileTest, ANameThatLeadsAwayIsNoPrefix)
{
   for (char const* prefix : {"netcfg", "a", "a.b", "A_b-1"}) {
      EXPECT_TRUE(IsLogPrefix(prefix)) << prefix;
   }
   for (std::string const& prefix :
        {std::string(), std::string("."), std::string(".."), std::string(".a"), std::string("a/b"),
         std::string("../a"), std::string("/a"), std::string("a b"), std::string("a\n"),
         std::string("a\0b", 3), std::string(201, 'a')}) {
      EXPECT_FALSE(IsLogPrefix(prefix)) << prefix;
   }
}

} // namespace

} // namespace base
