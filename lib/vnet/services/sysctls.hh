// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's switches for a network.
#pragma once

#include "vnet/services/layout.hh"
#include "vnet/services/wanted.hh"

#include <string>
#include <vector>

namespace vnet::services {

struct HostFacts;

// For a bridge on which the host has no address.
std::vector<WantedSysctl> MakeSilentSysctls(std::string const& device, HostFacts const& facts);
// For a hosted network; localForwards if its forwards are to be reached by 127.0.0.1.
std::vector<WantedSysctl> MakeSysctls(std::string const& device, Layout const& layout,
                                      bool localForwards, HostFacts const& facts);

} // namespace vnet::services
