// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/fileWatch.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace vnet::watch {

namespace {

namespace fs = std::filesystem;

class FileWatchTest : public testing::Test {
protected:
   fs::path GetPath(std::string const& name) const { return folder.GetPath() / name; }

   void Write(std::string const& name, std::string const& text) const
   {
      fs::create_directories(GetPath(name).parent_path());
      std::ofstream(GetPath(name)) << text;
   }

   void Replace(std::string const& name) const
   {
      Write("new", "new");
      fs::rename(GetPath("new"), GetPath(name));
   }

   test::TempDir folder;
};

TEST_F(FileWatchTest, TellsWhatIsWrittenReplacedRemovedAndMade)
{
   Write("file", "text");
   FileWatch watch(GetPath("file"));
   EXPECT_FALSE(watch.Read());
   Write("file", "other");
   EXPECT_TRUE(watch.Read());
   EXPECT_FALSE(watch.Read());
   Replace("file");
   EXPECT_TRUE(watch.Read());
   // The one that took its place is watched, too.
   Write("file", "more");
   EXPECT_TRUE(watch.Read());
   fs::remove(GetPath("file"));
   EXPECT_TRUE(watch.Read());
   Write("file", "again");
   EXPECT_TRUE(watch.Read());
}

TEST_F(FileWatchTest, OtherFilesAreNotTold)
{
   Write("file", "text");
   FileWatch watch(GetPath("file"));
   Write("other", "text");
   Write("file.new", "text");
   fs::remove(GetPath("other"));
   EXPECT_FALSE(watch.Read());
}

TEST_F(FileWatchTest, WhatALinkLeadsToIsWatched)
{
   Write("run/one/file", "text");
   Write("run/two/file", "text");
   fs::create_symlink("run/one/file", GetPath("link"));
   FileWatch watch(GetPath("link"));
   Replace("run/one/file");
   EXPECT_TRUE(watch.Read());
   Replace("run/two/file");
   EXPECT_FALSE(watch.Read());
   fs::create_symlink("run/two/file", GetPath("next"));
   fs::rename(GetPath("next"), GetPath("link"));
   EXPECT_TRUE(watch.Read());
   Replace("run/two/file");
   EXPECT_TRUE(watch.Read());
}

TEST_F(FileWatchTest, AFileThatComesLaterIsTold)
{
   FileWatch watch(GetPath("file"));
   EXPECT_FALSE(watch.Read());
   Write("file", "text");
   EXPECT_TRUE(watch.Read());
}

TEST_F(FileWatchTest, AFolderThatIsNotThereIsNoFailure)
{
   FileWatch watch(GetPath("nowhere/file"));
   EXPECT_GE(watch.GetDescriptor(), 0);
   EXPECT_FALSE(watch.Read());
}

} // namespace

} // namespace vnet::watch
