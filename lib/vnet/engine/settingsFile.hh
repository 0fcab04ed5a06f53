// SPDX-License-Identifier: GPL-2.0-or-later
// The host's settings that concern its networks.
#pragma once

#include <string>
#include <vector>

namespace vnet::engine {

struct HostSettings {
   // "host.adapters": devices to offer beside the hardware.
   std::vector<std::string> adapters;
   // "nat.ouis": the manufacturers' halves of MAC addresses to accept beside the usual ones.
   std::vector<std::string> ouis;
};

// Reads them anew. A file that isn't there, or that can't be read, which is logged, says nothing.
HostSettings ReadHostSettings(std::string const& path);

} // namespace vnet::engine
