// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/lockTaker.hh"

#include "base/log.h"
#include "vnet/values/error.hh"

#include <algorithm>

namespace vnet::watch {

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds shortestGap(10);
constexpr Milliseconds longestGap(320);
// About half a minute of them.
constexpr unsigned int tellingFailures = 100;

} // namespace

std::optional<LockFile> LockTaker::Try()
{
   try {
      auto lock = LockFile::Take(folder, Milliseconds(0));
      gap = Milliseconds(0);
      failures = 0;
      return lock;
   } catch (Error const& error) {
      if (++failures == tellingFailures) {
         Warning("%s; the networks aren't kept until it is free\n", error.what());
      }
      gap = std::clamp(2 * gap, shortestGap, longestGap);
      next = Clock::now() + gap;
      return {};
   }
}

} // namespace vnet::watch
