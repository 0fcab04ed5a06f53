// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/faults/wholeState.hh"

#include "support/testProcess.hh"

#include <filesystem>
#include <regex>

namespace test {

HostState TakeWholeState(netlab::Namespace const& host)
{
   auto state = TakeState(host);
   for (auto const& entry : std::filesystem::recursive_directory_iterator("/etc/tavrin")) {
      state["file " + entry.path().string()] = ReadFile(entry.path());
   }
   std::erase_if(state, [](auto const& entry) {
      return entry.first.ends_with(".leases") || entry.first.ends_with("/patch");
   });
   // A bridge's ports follow their carriers in the kernel's own time.
   static std::regex const portState("bridge_slave state [a-z]+");
   for (auto& [subject, value] : state) {
      if (subject.starts_with("link ")) {
         value = std::regex_replace(value, portState, "bridge_slave");
      }
   }
   return state;
}

} // namespace test
