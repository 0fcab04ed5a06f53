// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/privateEtc.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

namespace fs = std::filesystem;

// Runs check in a child with a private /etc, so that this process keeps the host's. Its result is
// the child's status; 77 if there is no such thing.
int RunInPrivateEtc(bool (*check)())
{
   int const pid = fork();
   if (pid == 0) {
      _exit(!HavePrivateEtc() ? 77 : check() ? 0 : 1);
   }
   int status = -1;
   EXPECT_EQ(pid, waitpid(pid, &status, 0));
   return status;
}

TEST(PrivateEtcTest, IsAsTheHosts)
{
   static std::string const passwd = ReadFile("/etc/passwd");
   int const status = RunInPrivateEtc([] { return ReadFile("/etc/passwd") == passwd; });
   if (ExitedWith(status, 77)) {
      GTEST_SKIP() << "a child can't have a private /etc";
   }
   EXPECT_TRUE(ExitedWith(status, 0));
}

TEST(PrivateEtcTest, HasAnEmptyTavrinOfItsOwn)
{
   int const status = RunInPrivateEtc([] {
      bool const isEmpty = fs::is_empty("/etc/tavrin");
      std::ofstream("/etc/tavrin/private-etc-test") << "text";
      return isEmpty && ReadFile("/etc/tavrin/private-etc-test") == "text";
   });
   if (ExitedWith(status, 77)) {
      GTEST_SKIP() << "a child can't have a private /etc";
   }
   EXPECT_TRUE(ExitedWith(status, 0));
   EXPECT_FALSE(fs::exists("/etc/tavrin/private-etc-test"));
}

} // namespace

} // namespace test
