// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/directory.hh"

#include "support/testProcess.hh"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace base {

namespace {

mode_t ModeOf(std::string const& path)
{
   struct stat status = {};
   EXPECT_EQ(0, lstat(path.c_str(), &status)) << path;
   return status.st_mode & 07777;
}

TEST(DirectoryTest, WhatLacksOfThePathIsMadeForTheUserAlone)
{
   test::TempDir folder;
   std::string path = folder.GetPath() / "a/b/c";
   FileDescriptor directory = MakeDirectory(path);
   ASSERT_TRUE(directory.IsOpen());
   EXPECT_EQ(FD_CLOEXEC, fcntl(directory.Get(), F_GETFD));
   EXPECT_EQ(0700u, ModeOf(folder.GetPath() / "a"));
   EXPECT_EQ(0700u, ModeOf(path));
   EXPECT_TRUE(MakeDirectory(path).IsOpen());
}

TEST(DirectoryTest, ADirectoryThatIsThereKeepsItsMode)
{
   test::TempDir folder;
   std::string path = folder.GetPath() / "a";
   ASSERT_EQ(0, mkdir(path.c_str(), 0755));
   ASSERT_EQ(0, chmod(path.c_str(), 0755));
   EXPECT_TRUE(MakeDirectory(path).IsOpen());
   EXPECT_EQ(0755u, ModeOf(path));
}

TEST(DirectoryTest, ALinkOrAFileInItsPlaceIsRefused)
{
   test::TempDir folder;
   std::string link = folder.GetPath() / "link";
   ASSERT_EQ(0, symlink(folder.GetPath().c_str(), link.c_str()));
   EXPECT_FALSE(MakeDirectory(link).IsOpen());
   EXPECT_FALSE(MakeDirectory(folder.Write("file", "")).IsOpen());
   EXPECT_EQ(ENOTDIR, errno);
}

TEST(DirectoryTest, AllNamesAreListedAgainAndAgain)
{
   test::TempDir folder;
   folder.Write("a", "");
   folder.Write(".b", "");
   FileDescriptor directory = MakeDirectory(folder.GetPath());
   for (int i = 0; i < 2; ++i) {
      std::vector<std::string> names = NamesIn(directory.Get());
      std::sort(names.begin(), names.end());
      EXPECT_EQ((std::vector<std::string>{".b", "a"}), names);
   }
   EXPECT_TRUE(NamesIn(-1).empty());
}

} // namespace

} // namespace base
