// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logTargets.hh"

#include "base/productState.h"

#include <cerrno>
#include <syslog.h>
#include <unistd.h>

namespace base {

namespace {

class ProcessTargets : public LogTargets {
public:
   // The server, which runs as root, serves the host rather than a user's session.
   ProcessTargets()
   {
      openlog(ProductState_GetName(), LOG_PID, geteuid() == 0 ? LOG_DAEMON : LOG_USER);
   }

   void WriteSystemLog(int priority, std::string const& text) override
   {
      syslog(priority, "%s", text.c_str());
   }

   void WriteStandardError(std::string const& line) override
   {
      WriteWholeLine(STDERR_FILENO, line);
   }

   bool IsStandardErrorTerminal() override { return isatty(STDERR_FILENO) == 1; }
};

} // namespace

LogTargets& ProcessLogTargets()
{
   // Never destroyed: what runs at exit may still have something to say.
   static auto& targets = *new ProcessTargets;
   return targets;
}

bool WriteWholeLine(int fd, std::string const& line)
{
   size_t done = 0;
   while (done < line.size()) {
      ssize_t count = write(fd, line.data() + done, line.size() - done);
      if (count < 0 && errno != EINTR) {
         return false;
      }
      done += count > 0 ? static_cast<size_t>(count) : 0;
   }
   return true;
}

} // namespace base
