// SPDX-License-Identifier: GPL-2.0-or-later
// Lines with columns.
#pragma once

#include "vnet/cli/terminal.hh"

#include <string>
#include <vector>

namespace vnet::cli {

using Row = std::vector<std::string>;

// The rows, each as long as the first, which is the headings. The last column is free text.
std::string Align(std::vector<Row> const& rows, Paint const& paint = Paint());

} // namespace vnet::cli
