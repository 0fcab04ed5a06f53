// SPDX-License-Identifier: GPL-2.0-or-later
// How a step of the library fails.
#pragma once

#include "vnet/values/error.hh"

#include <string>

namespace vnet {

// What `work` throws as an Error; empty if nothing.
template <class Work>
std::string GetFailure(Work const& work)
{
   try {
      work();
   } catch (Error const& error) {
      return error.what();
   }
   return {};
}

} // namespace vnet
