// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/installation.hh"

#include <filesystem>
#include <gtest/gtest.h>

using lui::Utils::GetBinDir;
using lui::Utils::GetLibDir;

namespace {

// In every call a directory of this build tree.
std::string Canonical(char const* directory)
{
   return std::filesystem::canonical(directory);
}

} // namespace

TEST(InstallationTest, TheProgramsDirectoryIsTheOneOfTheRunningProgram)
{
   EXPECT_EQ(Canonical(TEST_BUILD_DIR "/tests/bin").c_str(), GetBinDir());
}

TEST(InstallationTest, TheLibrariesDirectoryHoldsThisLibrary)
{
   EXPECT_EQ(Canonical(TEST_BUILD_DIR "/lib").c_str(), GetLibDir());
   EXPECT_TRUE(std::filesystem::exists(std::string(GetLibDir().c_str()) + "/libtavrinui.so"));
}

TEST(InstallationTest, TheWorkingDirectoryDoesNotMatter)
{
   utf::string const before = GetLibDir();
   std::filesystem::path const here = std::filesystem::current_path();
   std::filesystem::current_path("/");
   EXPECT_EQ(before, GetLibDir());
   std::filesystem::current_path(here);
}
