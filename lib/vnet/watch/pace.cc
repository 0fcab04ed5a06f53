// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/pace.hh"

#include <algorithm>

namespace vnet::watch {

void Pace::Note(Clock::time_point now)
{
   if (due) {
      return;
   }
   if (gap.count() == 0 || now - last > rest + 2 * gap) {
      gap = std::chrono::milliseconds(0);
      due = now + settling;
   } else {
      due = std::max(now + settling, last + gap);
   }
}

void Pace::Answer(Clock::time_point now)
{
   due.reset();
   last = now;
   gap = std::clamp(2 * gap, shortestGap, longest);
}

} // namespace vnet::watch
