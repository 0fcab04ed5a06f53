// SPDX-License-Identifier: GPL-2.0-or-later
// The edge of the library: no exception leaves it.
#pragma once

#include <exception>

namespace vnet {

// Writes "action object: cause" to the log. An object that isn't plain text is quoted.
void LogFailure(char const* action, char const* object, char const* cause) noexcept;

// The result of work; false, and a line in the log, if it throws. object may be null.
template <class Work>
bool AttemptFor(char const* action, char const* object, Work work) noexcept
{
   try {
      return work();
   } catch (std::exception const& error) {
      LogFailure(action, object, error.what());
   } catch (...) {
      LogFailure(action, object, "Unknown failure");
   }
   return false;
}

// The same for work without a result.
template <class Work>
bool Attempt(char const* action, char const* object, Work work) noexcept
{
   return AttemptFor(action, object, [&work] {
      work();
      return true;
   });
}

} // namespace vnet
