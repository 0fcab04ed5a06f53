// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/smallFile.hh"

#include "support/logDouble.hh"
#include "support/testProcess.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

class SmallFileTest : public testing::Test {
protected:
   test::TempDir folder;
   std::string path = folder.GetPath() / "file";

   std::size_t CountFiles() const
   {
      return static_cast<std::size_t>(
         std::distance(fs::directory_iterator(folder.GetPath()), fs::directory_iterator()));
   }
};

unsigned int GetMode(std::string const& path)
{
   struct stat status;
   return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST_F(SmallFileTest, ReplacesAFileWholeWithAReadableOne)
{
   mode_t const before = umask(077);
   ReplaceFile(path, "one");
   umask(before);
   EXPECT_EQ("one", ReadTrustedFile(path));
   EXPECT_EQ(0644u, GetMode(path));
   ReplaceFile(path, "");
   EXPECT_EQ("", ReadTrustedFile(path));
   EXPECT_EQ(1u, CountFiles());
}

TEST_F(SmallFileTest, AnOpenReaderKeepsTheOldFile)
{
   ReplaceFile(path, "one");
   struct stat before;
   struct stat after;
   stat(path.c_str(), &before);
   fs::create_hard_link(path, path + ".held");
   ReplaceFile(path, "two");
   stat(path.c_str(), &after);
   EXPECT_NE(before.st_ino, after.st_ino);
   EXPECT_EQ("one", ReadTrustedFile(path + ".held"));
}

TEST_F(SmallFileTest, LinksAreReplacedAndNotFollowed)
{
   auto const precious = folder.Write("precious", "old");
   fs::create_symlink(precious, path);
   fs::create_symlink(precious, folder.GetPath() / ".file.new");
   EXPECT_FALSE(ReadSmallFile(path));
   test::LogDouble::Clear();
   ReplaceFile(path, "new");
   EXPECT_THAT(test::LogDouble::GetLines(),
               testing::ElementsAre(
                  "Warning: write " + path + ": file is no plain file, and isn't kept\n",
                  "Warning: write " + path + ": .file.new is no plain file, and isn't kept\n"));
   EXPECT_EQ("old", test::ReadFile(precious));
   EXPECT_EQ("new", ReadSmallFile(path));
}

TEST_F(SmallFileTest, WhatCannotBeReplacedLeavesNothingBehind)
{
   fs::create_directory(path);
   EXPECT_THROW(ReplaceFile(path, "text"), Error);
   EXPECT_EQ(1u, CountFiles());
   EXPECT_THROW(ReplaceFile(folder.GetPath() / "none/file", "text"), Error);
}

TEST_F(SmallFileTest, OnlyAPlainFileOfOursIsTrusted)
{
   EXPECT_FALSE(ReadTrustedFile(path));
   EXPECT_FALSE(ReadTrustedFile(folder.GetPath()));
   ReplaceFile(path, "text");
   chmod(path.c_str(), 0646);
   EXPECT_FALSE(ReadTrustedFile(path));
   EXPECT_EQ("text", ReadSmallFile(path));

   chmod(path.c_str(), 0644);
   fs::create_hard_link(path, path + ".other");
   EXPECT_FALSE(ReadTrustedFile(path));

   auto const fifo = (folder.GetPath() / "fifo").string();
   ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
   EXPECT_FALSE(ReadTrustedFile(fifo)) << "and nobody waits for a writer";
}

TEST_F(SmallFileTest, AFileBeyondAMebibyteIsNotRead)
{
   ReplaceFile(path, std::string(1 << 20, 'x'));
   EXPECT_EQ(1u << 20, ReadSmallFile(path)->size());
   ReplaceFile(path, std::string((1 << 20) + 1, 'x'));
   EXPECT_FALSE(ReadSmallFile(path));
}

TEST_F(SmallFileTest, MakesFoldersWhateverTheMask)
{
   auto const deep = (folder.GetPath() / "a/b/c").string();
   mode_t const before = umask(077);
   MakeFolder(deep);
   umask(before);
   EXPECT_EQ(0755u, GetMode(deep));
   EXPECT_EQ(0755u, GetMode(folder.GetPath() / "a"));
   MakeFolder(deep);
}

TEST_F(SmallFileTest, AFolderThatIsNotOursAloneIsRefused)
{
   auto const open = (folder.GetPath() / "open").string();
   MakeFolder(open);
   chmod(open.c_str(), 0777);
   EXPECT_THROW(MakeFolder(open), Error);

   auto const link = (folder.GetPath() / "link").string();
   fs::create_directory_symlink("/", link);
   EXPECT_THROW(MakeFolder(link), Error);

   ReplaceFile(path, "text");
   EXPECT_THROW(MakeFolder(path), Error);
   EXPECT_THROW(MakeFolder(path + "/below"), Error);
}

TEST_F(SmallFileTest, NothingHappensBehindALinkInAFoldersPlace)
{
   auto const precious = folder.Write("elsewhere/file", "old");
   auto const fresh = folder.Write("elsewhere/.file.new", "half");
   auto const link = (folder.GetPath() / "link").string();
   fs::create_directory_symlink("elsewhere", link);

   EXPECT_THROW(ReplaceFile(link + "/file", "new"), Error);
   EXPECT_FALSE(ReadSmallFile(link + "/file"));
   RemoveFile(link + "/file");
   RemoveLeftovers(link);
   EXPECT_THROW(RemoveUnlessOurs(link + "/file"), Error);
   EXPECT_THROW(MakeFolder(link + "/below"), Error);
   EXPECT_EQ("old", test::ReadFile(precious));
   EXPECT_EQ("half", test::ReadFile(fresh));
}

TEST_F(SmallFileTest, AFolderInOneThatIsNotOursAloneIsRefused)
{
   auto const open = (folder.GetPath() / "open").string();
   MakeFolder(open + "/own");
   chmod(open.c_str(), 0777);
   EXPECT_THROW(MakeFolder(open + "/own"), Error);
   chmod(open.c_str(), 0755);
   MakeFolder(open + "/own");
}

TEST_F(SmallFileTest, OnlyAPlainFileOfOursStaysForOthersToOpen)
{
   EXPECT_FALSE(RemoveUnlessOurs(path));
   ReplaceFile(path, "text");
   EXPECT_FALSE(RemoveUnlessOurs(path));
   EXPECT_EQ("text", ReadSmallFile(path));

   auto const precious = folder.Write("precious", "old");
   auto const expectRemoved = [&] {
      EXPECT_TRUE(RemoveUnlessOurs(path));
      EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
      EXPECT_EQ("old", test::ReadFile(precious));
   };
   chmod(path.c_str(), 0666);
   expectRemoved();
   fs::create_symlink(precious, path);
   expectRemoved();
   fs::create_symlink("nothing", path);
   expectRemoved();
   fs::create_hard_link(precious, path);
   expectRemoved();
   ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
   expectRemoved();
   fs::create_directory(path);
   EXPECT_THROW(RemoveUnlessOurs(path), Error);
}

TEST_F(SmallFileTest, RemovingWhatIsNotThereIsNoFailure)
{
   ReplaceFile(path, "text");
   RemoveFile(path);
   EXPECT_FALSE(fs::exists(path));
   RemoveFile(path);
   RemoveFile(path + "/below");
   EXPECT_THROW(RemoveFile(folder.GetPath()), Error);
}

TEST_F(SmallFileTest, WhatAKilledWriterLeftIsRemovedAndNothingElse)
{
   auto const below = [this](char const* name) { return folder.GetPath() / name; };
   ReplaceFile(path, "text");
   for (auto const* name : {".note.new", ".other", "note.new", ".note.newer"}) {
      ReplaceFile(below(name), "half");
   }
   fs::create_directory(below(".folder.new"));
   RemoveLeftovers(folder.GetPath());
   EXPECT_FALSE(fs::exists(below(".note.new")));
   for (auto const* name : {".other", "note.new", ".note.newer", ".folder.new"}) {
      EXPECT_TRUE(fs::exists(below(name))) << name;
   }
   EXPECT_EQ("text", ReadSmallFile(path));
   RemoveLeftovers(folder.GetPath() / "nothing");
}

} // namespace

} // namespace vnet::process
