// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/privilege.h"

#include "base/capabilities.hh"
#include "base/cleanStart.hh"
#include "base/hiddenProcesses.hh"
#include "forkedTest.hh"
#include "support/processState.hh"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace base {

namespace {

using test::ProcessState;

constexpr char const* ALL_SETS[] = {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"};

bool IsFullRoot()
{
   return geteuid() == 0 &&
          (ProcessState(getpid()).GetCapabilities("CapEff") & MakeCapabilitySet(CAP_SETPCAP)) != 0;
}

TEST(CleanStartTest, AVariableThatNamesALanguageIsHarmless)
{
   for (auto const* variable : {"LANG=de_DE.UTF-8", "LANGUAGE=de:en_GB", "LC_ALL=C",
                                "LC_MESSAGES=ca_ES@valencia", "LANG="}) {
      EXPECT_TRUE(IsHarmlessVariable(variable)) << variable;
   }
}

TEST(CleanStartTest, EveryOtherVariableGoesAndSoDoesAPath)
{
   for (auto const* variable : {"LANG=/tmp/x",
                                "LANGUAGE=../../tmp/x",
                                "LC_ALL=..",
                                "LANG",
                                "",
                                "=",
                                "LANGS=C",
                                "LC=C",
                                "lang=C",
                                "LD_PRELOAD=x",
                                "LOCPATH=x",
                                "GCONV_PATH=x",
                                "NLSPATH=x",
                                "TVDEVEL=1",
                                "HOME=x",
                                "G_MESSAGES_DEBUG=all",
                                "GIO_MODULE_DIR=x",
                                "TMPDIR=x",
                                "XDG_CONFIG_HOME=x",
                                "TZ=x",
                                "LANG=C\n",
                                "LC_ALL=%n",
                                "IFS=",
                                "PATH=/home"}) {
      EXPECT_FALSE(IsHarmlessVariable(variable)) << variable;
   }
}

TEST(CleanStartTest, TheEnvironmentIsALanguageAndAPath)
{
   EXPECT_TRUE(PassesInChild([] {
      setenv("LC_ALL", "de_DE.UTF-8", 1);
      setenv("LANGUAGE", "../x", 1);
      setenv("LD_LIBRARY_PATH", "/tmp", 1);
      CleanEnvironment();
      EXPECT_STREQ("de_DE.UTF-8", getenv("LC_ALL"));
      EXPECT_STREQ("/usr/sbin:/usr/bin:/sbin:/bin", getenv("PATH"));
      for (char** variable = environ; *variable; ++variable) {
         std::string const text = *variable;
         EXPECT_TRUE(IsHarmlessVariable(text) || text.starts_with("PATH=")) << text;
      }
   }));
}

TEST(CleanStartTest, TheFirstThreeDescriptorsAreOpenAndTheOthersCloseOnExec)
{
   EXPECT_TRUE(PassesInChild([] {
      int const inherited = dup(1);
      ASSERT_EQ(0, fcntl(inherited, F_GETFD));
      close(0);
      close(2);
      CleanDescriptors();
      ProcessState const self(getpid());
      auto const descriptors = self.GetDescriptors();
      EXPECT_EQ("/dev/null", descriptors.at(0));
      EXPECT_EQ("/dev/null", descriptors.at(2));
      for (int const number : {0, 1, 2}) {
         EXPECT_FALSE(self.IsCloseOnExec(number)) << number;
      }
      EXPECT_TRUE(self.IsCloseOnExec(inherited));
   }));
}

TEST(HiddenProcessesTest, AreToldByTheOptionsOfProc)
{
   std::string const before = "22 27 0:20 / /sys rw - sysfs sysfs rw,hidepid=2\n";
   std::string const mount = "23 27 0:21 / /proc rw,relatime shared:1 - proc proc rw";
   EXPECT_FALSE(HidesProcesses(""));
   EXPECT_FALSE(HidesProcesses("/proc"));
   EXPECT_FALSE(HidesProcesses(before + mount + "\n"));
   for (auto const* value : {"0", "off"}) {
      EXPECT_FALSE(HidesProcesses(mount + ",hidepid=" + value + "\n")) << value;
   }
   for (auto const* value : {"1", "noaccess", "2", "invisible", "4", "ptraceable"}) {
      EXPECT_TRUE(HidesProcesses(before + mount + ",gid=5,hidepid=" + value + "\n")) << value;
   }
   EXPECT_FALSE(HidesProcesses(mount + ",hidepid=2\n" + mount + "\n")) << "the last one counts";
}

TEST(CapabilitiesTest, OnlyWhatIsKeptIsLeftInAnySet)
{
   if (!IsFullRoot()) {
      GTEST_SKIP() << "only root has something to give up";
   }
   EXPECT_TRUE(PassesInChild([] {
      CapabilitySet const kept = MakeCapabilitySet(CAP_KILL) | MakeCapabilitySet(CAP_BPF);
      EXPECT_TRUE(KeepCapabilities(kept));
      ProcessState const self(getpid());
      for (auto const* set : {"CapPrm", "CapEff", "CapBnd"}) {
         EXPECT_EQ(kept, self.GetCapabilities(set)) << set;
      }
      EXPECT_TRUE(KeepCapabilities(MakeCapabilitySet(CAP_KILL)));
      EXPECT_EQ(MakeCapabilitySet(CAP_KILL), ProcessState(getpid()).GetCapabilities("CapEff"));
      EXPECT_TRUE(KeepCapabilities(~CapabilitySet{0}));
      EXPECT_EQ(MakeCapabilitySet(CAP_KILL), ProcessState(getpid()).GetCapabilities("CapEff"));
   }));
}

TEST(CapabilitiesTest, AnOrdinaryUserHasNothingToGiveUp)
{
   if (geteuid() == 0) {
      GTEST_SKIP() << "for an ordinary user";
   }
   EXPECT_TRUE(PassesInChild([] { EXPECT_TRUE(KeepCapabilities(0)); }));
}

TEST(PrivilegeTest, WhatIsNeededStaysAndNothingElse)
{
   EXPECT_TRUE(PassesInChild([] {
      bool const isRoot = IsFullRoot();
      EXPECT_TRUE(Privilege_Drop());
      ProcessState const self(getpid());
      CapabilitySet const hidden = MakeCapabilitySet(CAP_SYS_PTRACE);
      for (auto const* set : ALL_SETS) {
         bool const bounded = isRoot || set != std::string("CapBnd");
         EXPECT_TRUE(!bounded || (self.GetCapabilities(set) & ~(OWN_CAPABILITIES | hidden)) == 0)
            << set;
      }
      EXPECT_EQ(isRoot ? OWN_CAPABILITIES : 0, self.GetCapabilities("CapEff") & OWN_CAPABILITIES);
      EXPECT_EQ("1", self.GetStatus("NoNewPrivs"));
      EXPECT_EQ("/", self.GetLink("cwd"));
   }));
}

TEST(PrivilegeTest, OthersOfItsUserCannotLookIntoAProcessOfRoots)
{
   EXPECT_TRUE(PassesInChild([] {
      Privilege_Drop();
      EXPECT_EQ(geteuid() == 0 ? 0 : 1, prctl(PR_GET_DUMPABLE));
   }));
}

TEST(PrivilegeTest, ACleanProcessHasAMaskOfItsOwnAndRootsLeavesNoCore)
{
   EXPECT_TRUE(PassesInChild([] {
      umask(0);
      setenv("TVDEVEL", "1", 1);
      auto const before = ProcessState(getpid()).GetLimits("Max core file size");
      Privilege_CleanUp();
      ProcessState const self(getpid());
      EXPECT_EQ("0022", self.GetStatus("Umask"));
      bool const isRoot = geteuid() == 0;
      EXPECT_EQ(isRoot ? "0 0" : before, self.GetLimits("Max core file size"));
      EXPECT_EQ(isRoot, getenv("TVDEVEL") == nullptr);
   }));
}

} // namespace

} // namespace base
