// SPDX-License-Identifier: GPL-2.0-or-later
// A completion slot that writes down what it is told.
#pragma once

#include "tvnetcfg/common/onDone.hh"

#include <string>
#include <vector>

namespace netcfg::common {

class Refusals {
public:
   // Valid as long as this object.
   OnDone Slot()
   {
      return [this](bool done, cui::Error const& error) {
         successes += done;
         messages.push_back(error.what());
      };
   }

   // Calls with true, of which there mustn't be any.
   int successes = 0;
   std::vector<std::string> messages;
};

} // namespace netcfg::common
