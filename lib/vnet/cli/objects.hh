// SPDX-License-Identifier: GPL-2.0-or-later
// Networks as JSON objects.
#pragma once

#include "vnet/cli/glance.hh"
#include "vnet/cli/leases.hh"
#include "vnet/engine/report.hh"
#include "vnet/json/value.hh"
#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::cli {

// "networks", each with "network", "type", "subnet", "adapter", "dhcp", "adapters" and "name".
json::Value MakeListObject(Settings const& settings);

// How a network stands on this host: what DescribeStatus tells.
json::Value MakeStatusObject(Settings const& settings, unsigned int index,
                             engine::Report const& report,
                             std::vector<std::string> const& addresses,
                             std::vector<Lease> const& leases);
// The same for who hasn't the right to look closer. Null: its bridge isn't there.
json::Value MakeGlanceObject(Settings const& settings, unsigned int index, Glance const* glance,
                             std::vector<Lease> const& leases);

} // namespace vnet::cli
