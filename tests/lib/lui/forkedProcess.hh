// SPDX-License-Identifier: GPL-2.0-or-later
// A copy of the test process that runs one function.
#pragma once

#include "support/testProcess.hh"

#include <cerrno>
#include <csignal>
#include <exception>
#include <functional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

// Killed and reaped by its owner, with all that it started. Ends with the status that the function
// returns.
class ForkedProcess {
public:
   explicit ForkedProcess(std::function<int()> const& run) : pid(fork())
   {
      if (pid == 0) {
         prctl(PR_SET_PDEATHSIG, SIGKILL);
         JoinGroup(0);
         isForked = true;
         _exit(run());
      }
      JoinGroup(pid);
   }
   // Runs a program. Its output is the test's.
   explicit ForkedProcess(std::vector<std::string> arguments)
      : ForkedProcess([&arguments] { return Execute(arguments); })
   {}
   ~ForkedProcess()
   {
      kill(isForked ? pid : -pid, SIGKILL);
      while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
      }
   }
   ForkedProcess(ForkedProcess const&) = delete;
   ForkedProcess& operator=(ForkedProcess const&) = delete;

   int GetPid() const { return pid; }
   void Kill() const { kill(pid, SIGKILL); }

   // Waits for the end, and leaves it unreaped.
   void WaitForEnd() const
   {
      siginfo_t info;
      while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) < 0 &&
             errno == EINTR) {
      }
   }

   // Waits for the end and reaps. The status as waitpid(2) gives it; empty if somebody else reaped.
   std::optional<int> Reap() const
   {
      int status = 0;
      int result;
      while ((result = waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
      }
      return result == pid ? std::optional(status) : std::nullopt;
   }

private:
   static int Execute(std::vector<std::string>& arguments)
   {
      std::vector<char*> vector;
      for (std::string& argument : arguments) {
         vector.push_back(argument.data());
      }
      vector.push_back(nullptr);
      execv(vector[0], vector.data());
      return 125;
   }

   // One group for each process that the test itself forks: a copy's own children stay in it.
   static void JoinGroup(int member)
   {
      if (!isForked) {
         setpgid(member, 0);
      }
   }

   static inline bool isForked = false;
   int pid;
};

} // namespace test
