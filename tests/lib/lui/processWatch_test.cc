// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/processWatch.hh"

#include "deniedCall.hh"
#include "forkedProcess.hh"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>

using lui::ProcessWatch;
using test::ForkedProcess;

namespace {

// Looks at a process through its life. 0 if the watch was right each time.
int FollowLife(bool hasDescriptor)
{
   ForkedProcess const process([] { return pause(); });
   ProcessWatch const watch(process.GetPid());
   if (watch.HasEnded() || (watch.Descriptor() >= 0) != hasDescriptor) {
      return 1;
   }
   process.Kill();
   process.WaitForEnd();
   if (!watch.HasEnded() || !ProcessWatch(process.GetPid()).HasEnded()) {
      return 2; // a zombie
   }
   process.Reap();
   return watch.HasEnded() && ProcessWatch(process.GetPid()).HasEnded() ? 0 : 3;
}

} // namespace

TEST(ProcessWatchTest, AZombieAndAReapedProcessHaveEnded)
{
   EXPECT_EQ(0, FollowLife(true));
}

TEST(ProcessWatchTest, AnOldKernelTellsAsMuch)
{
   ForkedProcess const asker(
      [] { return test::DenyCall(SYS_pidfd_open, ENOSYS) ? FollowLife(false) : 77; });
   std::optional<int> const status = asker.Reap();
   if (test::ExitedWith(status, 77)) {
      GTEST_SKIP() << "the kernel filters no system calls";
   }
   EXPECT_TRUE(test::ExitedWith(status, 0));
}

TEST(ProcessWatchTest, TheEndWakesAPoll)
{
   ForkedProcess const process([] { return 0; });
   ProcessWatch const watch(process.GetPid());
   pollfd entry{watch.Descriptor(), POLLIN, 0};
   EXPECT_EQ(1, poll(&entry, 1, 20000));
   EXPECT_TRUE(watch.HasEnded());
}

TEST(ProcessWatchTest, ANumberThatNoProcessCanHaveHasEnded)
{
   for (int pid : {0, -1, 0x7fffffff}) {
      EXPECT_TRUE(ProcessWatch(pid).HasEnded()) << pid;
   }
}

TEST(ProcessWatchTest, WithADescriptorNoTimeoutIsShortened)
{
   ProcessWatch const watch(getpid());
   EXPECT_EQ(-1, watch.PollTimeout(-1));
   EXPECT_EQ(60000, watch.PollTimeout(60000));
}
