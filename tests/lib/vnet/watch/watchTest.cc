// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/watch/watchTest.hh"

#include <sstream>
#include <thread>

namespace vnet::watch {

long WatchTest::CountSwitches(int pid)
{
   std::istringstream words(test::ReadFile("/proc/" + std::to_string(pid) + "/status"));
   long switches = 0;
   for (std::string word; words >> word;) {
      if (word.ends_with("voluntary_ctxt_switches:")) {
         long count = 0;
         words >> count;
         switches += count;
      }
   }
   return switches;
}

bool WatchTest::FallsAsleep(int pid)
{
   return test::Eventually([pid] {
      long const before = CountSwitches(pid);
      // Not in hope of anything: this is the time in which nothing may happen.
      std::this_thread::sleep_for(std::chrono::milliseconds(1100));
      return before > 0 && CountSwitches(pid) == before;
   });
}

} // namespace vnet::watch
