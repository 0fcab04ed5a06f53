// SPDX-License-Identifier: GPL-2.0-or-later
// Each system call of taking a patch off fails once, in turn.
#include "lib/vnet/faults/faultList.hh"
#include "lib/vnet/host/patchTest.hh"

#include <gtest/gtest.h>

namespace vnet::host {

namespace {

using test::Fault;

class PatchFaultsTest : public PatchTest {
protected:
   // By a process and sockets of its own.
   static test::TracedRun DetachTraced(std::optional<Fault> const& fault = {})
   {
      std::optional<RouteSocket> ownSocket;
      std::optional<Ruleset> ownRuleset;
      auto const prepare = [&] {
         ownSocket.emplace();
         ownRuleset.emplace();
      };
      auto const detach = [&] { BridgePatch(*ownSocket, *ownRuleset).Detach("eth0"); };
      return test::RunTraced({prepare, detach}, fault);
   }
};

TEST_F(PatchFaultsTest, WhatOneDetachLeftTheNextOneTakesAway)
{
   if (!test::GetTraceProblem().empty()) {
      GTEST_SKIP() << test::GetTraceProblem();
   }
   auto const before = DescribeHost();
   Attach();
   auto const faults = test::ListFailures(DetachTraced().calls);
   ASSERT_GT(faults.size(), 30u);
   for (std::size_t at = 0; at < faults.size(); ++at) {
      Attach();
      auto const run = DetachTraced(faults[at]);
      SCOPED_TRACE((run.calls.empty() ? "never comes" : run.calls[0].ToString()) + " " +
                   faults[at].ToString());
      EXPECT_TRUE(run.status) << "it hangs";
      // The next may be that of another network, which takes the adapter first.
      if (at % 2) {
         Attach();
      }
      Detach();
      ASSERT_EQ(before, DescribeHost());
   }
}

} // namespace

} // namespace vnet::host
