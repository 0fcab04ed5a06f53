// SPDX-License-Identifier: GPL-2.0-or-later
// Descriptors of processes. Called by number: <sys/pidfd.h> of glibc 2.36 can't be used from C++.
#pragma once

#include "base/fileDescriptor.hh"

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace vnet::process {

// Closed, with errno set, on failure. Readable when the process has ended.
inline base::FileDescriptor OpenPidfd(pid_t pid)
{
   return base::FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

// 0, or -1 with errno set.
inline int SignalPidfd(base::FileDescriptor const& process, int number)
{
   return static_cast<int>(syscall(SYS_pidfd_send_signal, process.Get(), number, nullptr, 0));
}

} // namespace vnet::process
