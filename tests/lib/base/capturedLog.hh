// SPDX-License-Identifier: GPL-2.0-or-later
// The lines that this process logs, kept out of the host's log.
#pragma once

#include "base/fileDescriptor.hh"

#include <string>

namespace base {

// From its making to its end, lines go into a file in memory.
class CapturedLog {
public:
   CapturedLog();
   ~CapturedLog();
   CapturedLog(CapturedLog const&) = delete;
   CapturedLog& operator=(CapturedLog const&) = delete;

   // Everything logged so far, by children of this process too.
   std::string GetText() const;

private:
   FileDescriptor file;
};

} // namespace base
