// SPDX-License-Identifier: GPL-2.0-or-later
// How soon to answer what happens.
#pragma once

#include <chrono>
#include <optional>

namespace vnet::watch {

using Clock = std::chrono::steady_clock;

// The first of a row of events is answered nearly at once, as soon as those that come with it had
// time to come; then answers keep a distance that doubles with each of the row. So a single event
// costs a few milliseconds, and a storm costs little.
class Pace {
public:
   explicit Pace(std::chrono::milliseconds longestGap) : longest(longestGap) {}

   // Something happened.
   void Note(Clock::time_point now);
   // When it is to be answered; empty if there is nothing to answer.
   std::optional<Clock::time_point> GetDue() const { return due; }
   bool IsDue(Clock::time_point now) const { return due && *due <= now; }
   // It was answered.
   void Answer(Clock::time_point now);
   // What comes next is the first of a row.
   void StartOver() { *this = Pace(longest); }
   // Between the last answer and the next.
   std::chrono::milliseconds GetGap() const { return gap; }

   static constexpr std::chrono::milliseconds settling{5};
   static constexpr std::chrono::milliseconds shortestGap{50};
   // After so long without events, beyond twice the gap, a row is over.
   static constexpr std::chrono::seconds rest{5};

private:
   std::chrono::milliseconds longest;
   std::chrono::milliseconds gap{0};
   std::optional<Clock::time_point> due;
   Clock::time_point last; // answer
};

} // namespace vnet::watch
