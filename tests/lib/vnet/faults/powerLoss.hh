// SPDX-License-Identifier: GPL-2.0-or-later
// What a power failure could take, by the calls that were made.
#pragma once

#include "support/trace/systemCall.hh"

#include <string>
#include <vector>

namespace test {

// A file system may write data, names and folders to the disk in any order, but for what was synced
// in between. So whoever replaces a file writes a new one, syncs it, renames it, and syncs the
// folder. Returns what of the files below the folder breaks that order, each as a sentence: a file
// renamed with data that wasn't synced, one written in place, and names that never were synced.
std::vector<std::string> FindLosses(std::vector<SystemCall> const& calls,
                                    std::string const& folder);

// The calls on files below the folder that make such an order, without those that read.
std::vector<std::string> ListSteps(std::vector<SystemCall> const& calls, std::string const& folder);

} // namespace test
