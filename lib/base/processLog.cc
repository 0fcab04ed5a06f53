// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/processLog.hh"

#include "base/log.h"
#include "base/preference.h"

namespace base {

Logger& ProcessLog()
{
   // Never destroyed: what runs at exit may still have something to say.
   static auto& logger = *new Logger(
      ProcessLogTargets(), [] { return Preference_GetInt(LOG_SEVERITY_DEFAULT, "log.level"); });
   return logger;
}

} // namespace base
