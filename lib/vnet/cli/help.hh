// SPDX-License-Identifier: GPL-2.0-or-later
// What --help prints.
#pragma once

#include <string>

namespace vnet::cli {

std::string GetHelp();

} // namespace vnet::cli
