// SPDX-License-Identifier: GPL-2.0-or-later
// Tells a LAN where the guests are, more than once.
#pragma once

#include "vnet/watch/pace.hh"

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace vnet::watch {

// A switch that has just seen a cable come may not pass frames on yet, so what is said at once is
// said again. Knows the times, not the wire.
class Announcer {
public:
   // From now on, at each of the delays.
   void Schedule(std::string const& adapter, Clock::time_point now);
   // When the next announcement is due; empty if none is left.
   std::optional<Clock::time_point> GetDue() const;
   // The adapters by which to announce now.
   std::set<std::string> TakeDue(Clock::time_point now);

   static constexpr std::chrono::milliseconds delays[] = {std::chrono::milliseconds(0),
                                                          std::chrono::milliseconds(200),
                                                          std::chrono::milliseconds(1000)};

private:
   std::multimap<Clock::time_point, std::string> schedule;
};

} // namespace vnet::watch
