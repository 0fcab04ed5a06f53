// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/serviceUser.hh"

#include "support/testProcess.hh"
#include "vnet/process/childProcess.hh"

#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::process {

namespace {

bool HasWholeMap()
{
   std::ifstream map("/proc/self/uid_map");
   unsigned long inside = 0;
   unsigned long outside = 0;
   unsigned long count = 0;
   map >> inside >> outside >> count;
   return inside == 0 && count == 4294967295;
}

TEST(ServiceUserTest, IsTheFirstThatThisHostHas)
{
   if (!HasWholeMap()) {
      GTEST_SKIP() << "in a user namespace";
   }
   auto const found = FindServiceUser({"no-such-user-here", "nobody", "root"});
   EXPECT_EQ("nobody", found.user);
   auto const* group = getgrnam(found.group.c_str());
   ASSERT_TRUE(group);
   EXPECT_EQ(getpwnam("nobody")->pw_gid, group->gr_gid);
}

TEST(ServiceUserTest, IsRootIfThereIsNobody)
{
   EXPECT_EQ((ServiceUser{"root", ""}), FindServiceUser({"no-such-user-here"}));
}

TEST(ServiceUserTest, IsRootWhereNobodyElseIsMapped)
{
   pid_t const pid = fork();
   if (pid == 0) {
      if (unshare(CLONE_NEWUSER) != 0) {
         _exit(77);
      }
      _exit(FindServiceUser({"nobody"}) == ServiceUser{"root", ""} ? 0 : 1);
   }
   int status = 0;
   ASSERT_EQ(pid, waitpid(pid, &status, 0));
   if (test::ExitedWith(status, 77)) {
      GTEST_SKIP() << "can't make a user namespace here";
   }
   EXPECT_TRUE(test::ExitedWith(status, 0));
}

} // namespace

} // namespace vnet::process
