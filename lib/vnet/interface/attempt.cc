// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/interface/attempt.hh"

#include "base/log.h"
#include "vnet/values/text.hh"

#include <cstring>

namespace vnet {

namespace {

constexpr std::size_t maxObject = 4096;

std::string Describe(char const* object)
{
   if (!object) {
      return "nothing";
   }
   std::string const text(object, strnlen(object, maxObject));
   return !text.empty() && IsPlainText(text, maxObject) ? text : Quote(text);
}

} // namespace

void LogFailure(char const* action, char const* object, char const* cause) noexcept
{
   try {
      LogV(LOG_SEVERITY_FAILURE, "%s %s: %s\n", action, Describe(object).c_str(), cause);
   } catch (...) {
      // Without memory for the object's name, the action still tells something.
      LogV(LOG_SEVERITY_FAILURE, "%s: %s\n", action, cause);
   }
}

} // namespace vnet
