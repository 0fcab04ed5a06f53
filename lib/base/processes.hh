// SPDX-License-Identifier: GPL-2.0-or-later
// Who started this process, and whose pipes it may therefore open.
#pragma once

#include "base/fileDescriptor.hh"

#include <functional>
#include <optional>
#include <sys/types.h>

namespace base {

// What /proc/<pid>/status tells of a process; user is its real user id.
struct ProcessInfo {
   pid_t pid;
   pid_t parent;
   uid_t user;
   bool alive; // neither a zombie nor about to vanish
};

// This process, as far as the rule below asks.
struct OwnProcess {
   pid_t pid;
   pid_t parent;
   uid_t user;
   uid_t effectiveUser;
};

using ProcessLookup = std::function<std::optional<ProcessInfo>(pid_t)>;

// An O_PATH descriptor of /proc/<pid>; closed, with errno set, if there is no such process.
FileDescriptor OpenProcess(pid_t pid);

// Reads what that directory tells of its process. Nothing once the process has been reaped.
std::optional<ProcessInfo> ReadProcess(FileDescriptor const& directory);

// Both in one.
std::optional<ProcessInfo> FindProcess(pid_t pid);

// Whether the process belongs to the user who started this one. Our ancestors are walked up to and
// including the first whose real user isn't root; the process must be one of those, or belong to
// that user, or to root if every ancestor is root's.
bool MayLendPipe(ProcessInfo const& process, OwnProcess const& own, ProcessLookup const& find);

} // namespace base
