// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/nursery.hh"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int interrupted = 128; // and the signal's number, as shells have it

sigset_t GetAwaited()
{
   sigset_t signals;
   sigemptyset(&signals);
   for (int const number : {SIGCHLD, SIGINT, SIGTERM, SIGHUP}) {
      sigaddset(&signals, number);
   }
   return signals;
}

[[noreturn]] void RunChild(std::function<int()> const& work, pid_t parent, sigset_t const& awaited)
{
   sigprocmask(SIG_UNBLOCK, &awaited, nullptr);
   int status = EXIT_FAILURE;
   if (prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent) {
      try {
         status = work();
      } catch (std::exception const& error) {
         std::fprintf(stderr, "%s\n", error.what());
      }
   }
   std::fflush(nullptr);
   _exit(status);
}

int ToStatus(int waited)
{
   return WIFEXITED(waited) ? WEXITSTATUS(waited) : interrupted + WTERMSIG(waited);
}

// Until the child ends, or somebody asks us to.
int WaitFor(pid_t child, sigset_t const& awaited)
{
   for (;;) {
      int const signal = sigwaitinfo(&awaited, nullptr);
      if (signal > 0 && signal != SIGCHLD) {
         return interrupted + signal;
      }
      int waited = 0;
      for (pid_t pid; (pid = waitpid(-1, &waited, WNOHANG)) > 0;) {
         if (pid == child) {
            return ToStatus(waited);
         }
      }
   }
}

// Orphans of a child become children of ours, so this comes to everybody in the end.
void EndAll()
{
   auto const path = "/proc/self/task/" + std::to_string(getpid()) + "/children";
   do {
      std::ifstream children(path);
      for (pid_t pid = 0; children >> pid;) {
         kill(pid, SIGKILL);
      }
   } while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR);
}

} // namespace

int RunInNursery(std::function<int()> const& work)
{
   auto const awaited = GetAwaited();
   pid_t const self = getpid();
   sigprocmask(SIG_BLOCK, &awaited, nullptr);
   if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
      std::perror("look after orphans");
      return EXIT_FAILURE;
   }
   pid_t const child = fork();
   if (child == 0) {
      RunChild(work, self, awaited);
   }
   int const status = child > 0 ? WaitFor(child, awaited) : EXIT_FAILURE;
   EndAll();
   return status;
}

} // namespace bench
