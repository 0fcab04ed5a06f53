// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/serviceManager.hh"

#include "support/netlab/lab.hh"
#include "support/netlab/namespace.hh"
#include "support/testProcess.hh"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

constexpr char const* plainMounts = "22 27 0:21 / /proc rw - proc proc rw\n"
                                    "27 1 254:0 / / rw - ext4 /dev/vda rw\n"
                                    "30 27 0:25 / /run rw shared:2 - tmpfs tmpfs rw\n"
                                    "31 30 0:26 / /run/lock rw - tmpfs tmpfs rw\n";

TEST(LocateFolderTest, ItIsInTheFileSystemThatIsMountedThere)
{
   EXPECT_EQ("254:0 /etc/tavrin", LocateFolder(plainMounts, "/etc/tavrin"));
   EXPECT_EQ("0:25 /tavrin", LocateFolder(plainMounts, "/run/tavrin"));
   EXPECT_EQ("0:25 /locksmith", LocateFolder(plainMounts, "/run/locksmith"));
   EXPECT_EQ("0:26 /", LocateFolder(plainMounts, "/run/lock"));
}

TEST(LocateFolderTest, AFolderBoundToItselfIsTheSame)
{
   auto const bound = std::string(plainMounts) +
                      "40 30 0:25 /tavrin /run/tavrin rw - tmpfs t rw\n" +
                      "41 27 254:0 /etc/tavrin /etc/tavrin rw - ext4 /dev/vda rw\n";
   EXPECT_EQ("0:25 /tavrin", LocateFolder(bound, "/run/tavrin"));
   EXPECT_EQ("254:0 /etc/tavrin", LocateFolder(bound, "/etc/tavrin"));
}

TEST(LocateFolderTest, WhatIsMountedOverItCounts)
{
   auto const covered = std::string(plainMounts) + "40 27 0:40 / /etc rw - overlay o rw\n" +
                        "41 30 0:41 / /run rw - tmpfs t rw\n";
   EXPECT_EQ("0:40 /tavrin", LocateFolder(covered, "/etc/tavrin"));
   EXPECT_EQ("0:41 /tavrin", LocateFolder(covered, "/run/tavrin"));
   // It was there before /run was mounted over it.
   EXPECT_EQ("0:41 /lock", LocateFolder(covered, "/run/lock"));
}

TEST(LocateFolderTest, ATextThatTellsNothingLocatesNothing)
{
   for (auto const* text : {"", "27\n", "27 1 254:0 / /etc rw\n", "27 27 254:0\n"}) {
      EXPECT_FALSE(LocateFolder(text, "/etc/tavrin")) << text;
   }
   EXPECT_EQ("254:0 /etc", LocateFolder("1 1 254:0 / / rw\n1 1 254:0 / / rw\n", "/etc"));
}

// A process that stands for the manager.
class ServiceManagerTest : public netlab::LabTest {
protected:
   void SetUp() override
   {
      LabTest::SetUp();
      fs::create_directories("/run/tavrin");
   }

   // Looks as soon as the process is what it will be.
   std::optional<std::string> FindObstacle(test::TestProcess const& process,
                                           std::string const& program = "sleep")
   {
      auto const comm = "/proc/" + std::to_string(process.GetPid()) + "/comm";
      EXPECT_TRUE(test::Eventually([&] { return test::ReadFile(comm) == "sleep\n"; }));
      return FindManagerObstacle({"/etc/tavrin", "/run/tavrin"},
                                 {booted.GetPath().string(), process.GetPid(), program});
   }

   static std::vector<std::string> GetShell(std::string const& script)
   {
      return {"unshare", "--mount", "sh", "-c", script + "; exec sleep 1000"};
   }

   test::TempDir booted;
};

TEST_F(ServiceManagerTest, OneWithOurNetworkAndOurFoldersCan)
{
   test::TestProcess const manager({"sleep", "1000"});
   EXPECT_EQ(std::nullopt, FindObstacle(manager));
}

TEST_F(ServiceManagerTest, OneBesideUsInAMountNamespaceOfItsOwnCan)
{
   test::TestProcess const manager(GetShell("mount --bind /run/tavrin /run/tavrin"));
   EXPECT_EQ(std::nullopt, FindObstacle(manager));
}

TEST_F(ServiceManagerTest, OneOfAnotherNetworkCannot)
{
   netlab::Namespace const other;
   auto const manager = other.Run([] { return test::TestProcess({"sleep", "1000"}); });
   EXPECT_EQ("it is in another network", FindObstacle(manager));
}

TEST_F(ServiceManagerTest, OneWithAnotherFolderCannot)
{
   for (auto const* folder : {"/etc/tavrin", "/run/tavrin", "/run"}) {
      auto const mount = std::string("mount -t tmpfs tmpfs ") + folder;
      test::TestProcess const manager(GetShell(mount));
      auto const obstacle = FindObstacle(manager);
      ASSERT_TRUE(obstacle) << folder;
      EXPECT_EQ(0u, obstacle->find("it has another ")) << *obstacle;
   }
}

TEST_F(ServiceManagerTest, AnotherProgramIsNone)
{
   test::TestProcess const manager({"sleep", "1000"});
   EXPECT_EQ("it isn't the first process", FindObstacle(manager, "systemd"));
}

TEST_F(ServiceManagerTest, OneThatHasEndedIsNone)
{
   test::TestProcess manager({"true"});
   manager.Wait();
   EXPECT_EQ("it isn't the first process",
             FindManagerObstacle({}, {booted.GetPath().string(), manager.GetPid(), "true"}));
}

TEST_F(ServiceManagerTest, WithoutItsFolderItDoesNotRun)
{
   auto const missing = booted.GetPath() / "missing";
   EXPECT_EQ("none runs", FindManagerObstacle({}, {missing.string(), getpid(), "sleep"}));
   fs::create_symlink("/", missing);
   EXPECT_EQ("none runs", FindManagerObstacle({}, {missing.string(), getpid(), "sleep"}));
}

} // namespace

} // namespace vnet::process
