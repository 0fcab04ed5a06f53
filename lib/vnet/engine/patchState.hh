// SPDX-License-Identifier: GPL-2.0-or-later
// How an adapter and a bridge are joined just now.
#pragma once

#include <string>

namespace vnet::engine {

struct Host;

// All that joining sets, as a text to be compared with an earlier one: devices, addresses, filters
// and rules, without the guests that were learned. Throws Error.
std::string DescribePatch(Host& host, std::string const& adapter, std::string const& bridge);

} // namespace vnet::engine
