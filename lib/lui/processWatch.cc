// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/processWatch.hh"

#include "lui/processTree.hh"

#include <cerrno>
#include <csignal>
#include <optional>
#include <poll.h>
#include <sys/syscall.h>

namespace lui {

namespace {

// How long an end may go unnoticed where nothing wakes us, in milliseconds.
constexpr int ASK_INTERVAL = 200;

// pidfd_open(2); the descriptor is close-on-exec.
int OpenPidfd(int pid)
{
   return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

} // namespace

ProcessWatch::ProcessWatch(int process) : pid(process), pidfd(OpenPidfd(process))
{
   if (pidfd.IsOpen()) {
      return;
   }
   // The kernel's word for "no such process", and for a number that can't be one.
   gone = errno == ESRCH || errno == EINVAL || pid <= 0;
   std::optional<ProcessStat> const stat = gone ? std::nullopt : ReadProcessStat(pid);
   if (stat) {
      startTime = stat->startTime;
   }
}

bool ProcessWatch::HasEnded() const
{
   if (gone) {
      return true;
   }
   if (!pidfd.IsOpen()) {
      return HasEndedByProc();
   }
   pollfd entry{pidfd.Get(), POLLIN, 0};
   return poll(&entry, 1, 0) > 0;
}

bool ProcessWatch::HasEndedByProc() const
{
   std::optional<ProcessStat> const stat = ReadProcessStat(pid);
   if (!stat) {
      // Unreadable need not mean gone: /proc may hide it, or we may be out of descriptors.
      return kill(pid, 0) < 0 && errno == ESRCH;
   }
   bool const isAnother = !startTime.empty() && stat->startTime != startTime;
   return isAnother || stat->state == 'Z' || stat->state == 'X';
}

int ProcessWatch::PollTimeout(int wanted) const
{
   bool const isEnough = pidfd.IsOpen() || (wanted >= 0 && wanted < ASK_INTERVAL);
   return isEnough ? wanted : ASK_INTERVAL;
}

} // namespace lui
