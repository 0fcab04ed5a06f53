// SPDX-License-Identifier: GPL-2.0-or-later
// What /proc tells of other processes. Every result is a moment's: processes come and go meanwhile.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lui {

// The part of /proc/<pid>/stat (proc(5)) that we use.
struct ProcessStat {
   char state;
   int parent;
   std::string startTime; // in clock ticks since boot
};

// Nothing if there is no such process, or none that we may see.
std::optional<ProcessStat> ReadProcessStat(int pid);

// The argument vector. Empty for a zombie, for a process that is gone, and for one whose arguments
// are longer than any that we look for.
std::vector<std::string> ReadCommandLine(int pid);

// The processes whose parent is pid.
std::vector<int> ChildrenOf(int pid);

// Finds the server of this process: a process in the tree of root, root included, that runs a
// program of the file name `program` with two descriptor numbers and our process id. 0 if there is
// none.
int FindServer(int root, std::string const& program);

} // namespace lui
