// SPDX-License-Identifier: GPL-2.0-or-later
// What anybody may see of the networks.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace vnet::cli {

// A network whose bridge is there.
struct Glance {
   bool foreign = false;               // someone else's device has the bridge's name
   std::vector<std::string> addresses; // of the bridge, "192.168.8.1/24", in the kernel's order
   std::vector<std::string> plugged;   // what is plugged in beside an adapter
};

// By index. Needs no rights and no lock. Throws Error.
std::map<unsigned int, Glance> GlanceAtNetworks();

} // namespace vnet::cli
