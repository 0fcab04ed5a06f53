// SPDX-License-Identifier: GPL-2.0-or-later
// The failure of one step.
#pragma once

#include <stdexcept>
#include <string>

namespace vnet {

// Names the action, the object and the cause: "create bridge tvnet8: File exists". Thrown inside
// the library and logged once, where the C interface turns it into a status.
class Error : public std::runtime_error {
public:
   Error(std::string const& action, std::string const& object, std::string const& cause)
      : std::runtime_error(action + " " + object + ": " + cause)
   {}
};

} // namespace vnet
