// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/userDirectory.hh"

#include "forkedTest.hh"

#include <cstdlib>
#include <gtest/gtest.h>
#include <pwd.h>

namespace base {

namespace {

std::string StateDirectory()
{
   return UserDirectory("XDG_STATE_HOME", ".local/state");
}

TEST(UserDirectoryTest, AnAbsoluteVariableIsTaken)
{
   EXPECT_TRUE(PassesInChild([] {
      setenv("XDG_STATE_HOME", "/some/state", 1);
      setenv("HOME", "/some/home", 1);
      EXPECT_EQ("/some/state", StateDirectory());
   }));
}

TEST(UserDirectoryTest, AMissingEmptyOrRelativeVariableGivesTheDefaultBelowHome)
{
   EXPECT_TRUE(PassesInChild([] {
      setenv("HOME", "/some/home", 1);
      for (char const* value : {"", "state", "./state", "~/state"}) {
         setenv("XDG_STATE_HOME", value, 1);
         EXPECT_EQ("/some/home/.local/state", StateDirectory()) << value;
      }
      unsetenv("XDG_STATE_HOME");
      EXPECT_EQ("/some/home/.local/state", StateDirectory());
   }));
}

TEST(UserDirectoryTest, WithoutAnAbsoluteHomeTheAccountsOneCounts)
{
   passwd* account = getpwuid(getuid());
   if (!account || account->pw_dir[0] != '/') {
      GTEST_SKIP() << "this user has no account with a home directory";
   }
   std::string expected = std::string(account->pw_dir) + "/.local/state";
   EXPECT_TRUE(PassesInChild([&expected] {
      unsetenv("XDG_STATE_HOME");
      unsetenv("HOME");
      EXPECT_EQ(expected, StateDirectory());
      setenv("HOME", "home", 1);
      EXPECT_EQ(expected, StateDirectory());
   }));
}

TEST(UserDirectoryTest, AUserWithoutAnAccountHasNone)
{
   if (geteuid() != 0) {
      GTEST_SKIP() << "only root can become a user without an account";
   }
   EXPECT_TRUE(PassesInChild([] {
      constexpr uid_t UNKNOWN = 2000000123;
      unsetenv("XDG_STATE_HOME");
      unsetenv("HOME");
      ASSERT_EQ(0, setresuid(UNKNOWN, UNKNOWN, UNKNOWN));
      EXPECT_EQ("", StateDirectory());
   }));
}

} // namespace

} // namespace base
