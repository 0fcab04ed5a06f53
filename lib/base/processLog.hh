// SPDX-License-Identifier: GPL-2.0-or-later
// The log of this process.
#pragma once

#include "base/logger.hh"

namespace base {

// Filtered by the preference "log.level" until Log_SetLevel. Lives to the end of the process.
Logger& ProcessLog();

} // namespace base
