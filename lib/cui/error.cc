// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/error.hh"

namespace cui {

Error::Error(utf::string const& message) : message(message) {}

Error::Error(utf::string const& message, std::string const& detail,
             std::vector<utf::string> const& arguments)
   : message(message), detail(detail), arguments(arguments)
{}

NullPointerError::NullPointerError() : Error("Null pointer dereference") {}

} // namespace cui
