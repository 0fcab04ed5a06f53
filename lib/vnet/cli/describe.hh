// SPDX-License-Identifier: GPL-2.0-or-later
// Networks in words.
#pragma once

#include "vnet/cli/glance.hh"
#include "vnet/cli/leases.hh"
#include "vnet/cli/terminal.hh"
#include "vnet/engine/report.hh"
#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::cli {

// A table with a line of headings and one for each network.
std::string DescribeList(Settings const& settings, Paint const& paint = Paint());

// How a network stands on this host, in some lines. `addresses` are those of its bridge.
std::string DescribeStatus(Settings const& settings, unsigned int index,
                           engine::Report const& report, std::vector<std::string> const& addresses,
                           std::vector<Lease> const& leases = {}, Paint const& paint = Paint());

// The same for who hasn't the right to look closer. Null: its bridge isn't there.
std::string DescribeGlance(Settings const& settings, unsigned int index, Glance const* glance,
                           std::vector<Lease> const& leases = {});

} // namespace vnet::cli
