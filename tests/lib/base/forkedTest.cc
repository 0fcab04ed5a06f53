// SPDX-License-Identifier: GPL-2.0-or-later
#include "forkedTest.hh"

#include "support/testProcess.hh"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>

namespace base {

namespace {

constexpr unsigned DEADLINE = 50;

void Check(bool good, char const* what)
{
   if (!good) {
      throw std::system_error(errno, std::generic_category(), what);
   }
}

pid_t Fork()
{
   std::fflush(nullptr);
   pid_t pid = fork();
   Check(pid >= 0, "fork");
   if (pid == 0) {
      // However the test ends, this process does too.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      alarm(DEADLINE);
   }
   return pid;
}

} // namespace

bool PassesInChild(std::function<void()> const& body)
{
   pid_t pid = Fork();
   if (pid == 0) {
      try {
         body();
      } catch (std::exception const& error) {
         ADD_FAILURE() << error.what();
      }
      std::fflush(nullptr);
      _exit(testing::Test::HasFailure() ? 1 : 0);
   }
   int status = 0;
   Check(waitpid(pid, &status, 0) == pid, "waitpid");
   return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void BecomeNobody()
{
   Check(setgroups(0, nullptr) == 0, "setgroups");
   Check(setresgid(NOBODY, NOBODY, NOBODY) == 0, "setresgid");
   Check(setresuid(NOBODY, NOBODY, NOBODY) == 0, "setresuid");
   Check(prctl(PR_SET_DUMPABLE, 1) == 0, "prctl");
}

HeldChild::HeldChild(std::function<void()> const& setUp)
{
   test::Pipe ready;
   pid = Fork();
   if (pid == 0) {
      setUp();
      Check(write(ready.GetWriteEnd(), "", 1) == 1, "write");
      for (;;) {
         pause();
      }
   }
   ready.CloseWriteEnd();
   char byte;
   // An end of file here means that the child has died.
   if (read(ready.GetReadEnd(), &byte, 1) != 1) {
      waitpid(pid, nullptr, 0);
      throw std::runtime_error("the child's set-up failed");
   }
}

HeldChild::~HeldChild()
{
   kill(pid, SIGKILL);
   waitpid(pid, nullptr, 0);
}

pid_t MakeZombie()
{
   pid_t pid = Fork();
   if (pid == 0) {
      _exit(0);
   }
   siginfo_t info = {};
   Check(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) == 0, "waitid");
   return pid;
}

} // namespace base
