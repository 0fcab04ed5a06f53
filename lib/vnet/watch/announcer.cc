// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/announcer.hh"

namespace vnet::watch {

void Announcer::Schedule(std::string const& adapter, Clock::time_point now)
{
   std::erase_if(schedule, [&](auto const& entry) { return entry.second == adapter; });
   for (auto const delay : delays) {
      schedule.emplace(now + delay, adapter);
   }
}

std::optional<Clock::time_point> Announcer::GetDue() const
{
   return schedule.empty() ? std::nullopt : std::optional(schedule.begin()->first);
}

std::set<std::string> Announcer::TakeDue(Clock::time_point now)
{
   std::set<std::string> adapters;
   while (!schedule.empty() && schedule.begin()->first <= now) {
      adapters.insert(schedule.begin()->second);
      schedule.erase(schedule.begin());
   }
   return adapters;
}

} // namespace vnet::watch
