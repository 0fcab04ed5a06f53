// SPDX-License-Identifier: GPL-2.0-or-later
// Acting on the test's thread while it is blocked in the call under test.
#pragma once

#include "support/testProcess.hh"

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <string>
#include <sys/time.h>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace test {

// Runs an action on a thread of its own as soon as the thread that made this sleeps in the kernel.
class OnceAsleep {
public:
   explicit OnceAsleep(std::function<void()> action)
      : thread([this, sleeper = gettid(), action = std::move(action)] {
           Eventually([sleeper] { return IsAsleep(sleeper); });
           began = std::chrono::steady_clock::now();
           action();
        })
   {}

   // How long ago the action began. Waits for the action's end.
   Milliseconds GetAge()
   {
      auto const now = std::chrono::steady_clock::now();
      thread.join();
      return std::chrono::duration_cast<Milliseconds>(now - began);
   }

private:
   // Several times in a row: it may only have been waiting for a page or a lock.
   static bool IsAsleep(int thread)
   {
      for (int look = 0; look < 5; ++look) {
         std::string stat;
         std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), stat);
         if (stat.find(") S ") == std::string::npos) {
            return false;
         }
         Pause();
      }
      return true;
   }

   std::chrono::steady_clock::time_point began;
   std::jthread thread; // last, so that it ends before what it uses
};

// Raises SIGALRM every millisecond of real time; its handler lets nothing restart.
class IntervalTimer {
public:
   IntervalTimer()
   {
      count = 0;
      struct sigaction action {};
      action.sa_handler = [](int) { count = count + 1; };
      sigaction(SIGALRM, &action, &oldAction);
      itimerval const interval{{0, 1000}, {0, 1000}};
      setitimer(ITIMER_REAL, &interval, nullptr);
   }
   ~IntervalTimer()
   {
      itimerval const none{};
      setitimer(ITIMER_REAL, &none, nullptr);
      sigaction(SIGALRM, &oldAction, nullptr);
   }
   IntervalTimer(IntervalTimer const&) = delete;
   IntervalTimer& operator=(IntervalTimer const&) = delete;

   int GetCount() const { return count; }

private:
   static inline std::atomic<int> count = 0;
   struct sigaction oldAction;
};

// Processor time that this process has used.
inline std::chrono::nanoseconds GetProcessorTime()
{
   timespec time;
   clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
   return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace test
