// SPDX-License-Identifier: GPL-2.0-or-later
// How complaints name values and their places.
#pragma once

#include "vnet/json/value.hh"

#include <string>

namespace vnet::document {

// What stands there, in a word or two.
std::string Show(json::Value const& value);
// "networks.tvnet8"; a name that is no plain word is quoted.
std::string JoinPath(std::string const& path, std::string const& name);

} // namespace vnet::document
