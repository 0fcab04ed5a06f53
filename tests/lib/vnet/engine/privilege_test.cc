// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/privilege.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vnet::engine {

namespace {

// What `ask` says in a process that has no rights on its network, though it may be called root.
template <class Ask>
bool AskWithoutRights(Ask ask)
{
   auto const child = fork();
   if (child == 0) {
      // A new user namespace has rights on nothing that was there before.
      _exit(unshare(CLONE_NEWUSER) == 0 ? (ask() ? 1 : 0) : 2);
   }
   int status = 0;
   waitpid(child, &status, 0);
   EXPECT_TRUE(WIFEXITED(status));
   EXPECT_NE(2, WEXITSTATUS(status)) << "no user namespace";
   return WEXITSTATUS(status) == 1;
}

} // namespace

TEST(PrivilegeTest, RootOfAUserNamespaceHasNoneOnTheNetworkOutside)
{
   EXPECT_FALSE(AskWithoutRights(MayChangeNetwork));
}

TEST(PrivilegeTest, RootOfTheNetworksOwnNamespaceHasIt)
{
   EXPECT_TRUE(AskWithoutRights([] { return unshare(CLONE_NEWNET) == 0 && MayChangeNetwork(); }));
}

TEST(PrivilegeTest, AFolderIsWritableOrCanBeMade)
{
   test::TempDir const place;
   EXPECT_TRUE(MayWrite(place.GetPath()));
   EXPECT_TRUE(MayWrite(place.GetPath() / "new"));
   EXPECT_FALSE(MayWrite(place.GetPath() / "new/newer"));
}

} // namespace vnet::engine
