// SPDX-License-Identifier: GPL-2.0-or-later
// The files that a process logs to.
#pragma once

#include "base/fileDescriptor.hh"

#include <string>

namespace base {

// An open log file, or why there is none.
struct LogFile {
   std::string path;
   FileDescriptor file;
   std::string error;
};

// True if the text may stand in a log file's name: letters, digits, ".", "_" and "-", not beginning
// with ".".
bool IsLogPrefix(std::string const& prefix);

// Makes the directory with mode 0700 if it isn't there, puts a new "<prefix>-<pid>.log" in place of
// what was there, and of the caller's files of that prefix keeps the ten newest, the new one
// included.
LogFile CreateLogFile(std::string const& directory, std::string const& prefix, pid_t pid);

// Opens "<prefix>.log" in that directory for appending.
LogFile AppendLogFile(std::string const& directory, std::string const& prefix);

// Opens the file of this path for appending. One that exists must be a regular file of the caller's
// without a second name; it gets mode 0600.
LogFile AppendLogFileAt(std::string const& path);

} // namespace base
