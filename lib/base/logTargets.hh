// SPDX-License-Identifier: GPL-2.0-or-later
// The places outside the log file that lines can go to.
#pragma once

#include <string>

namespace base {

class LogTargets {
public:
   virtual ~LogTargets() = default;

   // text is one line's content without time, pid and newline; priority is one of syslog(3)'s.
   virtual void WriteSystemLog(int priority, std::string const& text) = 0;

   // line is whole, with its newline.
   virtual void WriteStandardError(std::string const& line) = 0;

   virtual bool IsStandardErrorTerminal() = 0;
};

// Those of this process. Lives to the end of the process.
LogTargets& ProcessLogTargets();

// Writes all of the line, in one write(2) where the kernel takes it so. False if not all of it
// could be written.
bool WriteWholeLine(int fd, std::string const& line);

} // namespace base
