// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logger.hh"

#include "base/log.h"
#include "base/logLine.hh"

#include <algorithm>
#include <array>
#include <ctime>
#include <syslog.h>
#include <unistd.h>

namespace base {

// A severity's name in the line and priority in the system log.
struct Logger::Level {
   char const* name;
   int priority;
};

Logger::Logger(LogTargets& targets, std::function<int()> configuredLevel)
   : targets(targets), configuredLevel(std::move(configuredLevel))
{}

void Logger::Write(int severity, std::string_view text)
{
   int known = std::clamp<int>(severity, LOG_SEVERITY_ERROR, LOG_SEVERITY_MAX);
   if (IsWanted(known)) {
      Dispatch(LevelOf(known), text, false);
   }
}

void Logger::Warning(std::string_view text)
{
   Dispatch(LevelOf(LOG_SEVERITY_WARNING), text, false);
}

void Logger::Header(std::string_view text)
{
   Dispatch(LevelOf(LOG_SEVERITY_INFO), text, false);
}

void Logger::Panic(std::string_view text)
{
   Dispatch({"panic", LOG_CRIT}, text, true);
}

Logger::Level const& Logger::LevelOf(int severity)
{
   static constexpr std::array<Level, LOG_SEVERITY_MAX + 1> LEVELS = {{
      {"error", LOG_ERR},
      {"warning", LOG_WARNING},
      {"failure", LOG_WARNING},
      {"notice", LOG_NOTICE},
      {"info", LOG_INFO},
      {"detail", LOG_INFO},
      {"debug", LOG_DEBUG},
      {"trace", LOG_DEBUG},
      {"trace", LOG_DEBUG},
      {"trace", LOG_DEBUG},
   }};
   return LEVELS.at(static_cast<size_t>(severity));
}

bool Logger::IsWanted(int severity) const
{
   int set = level;
   return severity <= (set == UNSET ? configuredLevel() : set);
}

void Logger::Dispatch(Level const& of, std::string_view text, bool alsoStandardError)
{
   timespec now = {};
   clock_gettime(CLOCK_REALTIME, &now);
   std::string line = MakeLogLine(now, getpid(), of.name, text);
   if (alsoStandardError) {
      // First, in case the log is what is broken.
      targets.WriteStandardError(line);
   }
   int fd = file;
   if (fd >= 0 && WriteWholeLine(fd, line)) {
      return;
   }
   // No file, or a full disk: what is said must still be found.
   targets.WriteSystemLog(of.priority, EscapeLogText(text));
   if (!alsoStandardError && targets.IsStandardErrorTerminal()) {
      targets.WriteStandardError(line);
   }
}

} // namespace base
