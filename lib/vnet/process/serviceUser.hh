// SPDX-License-Identifier: GPL-2.0-or-later
// Whom our services run as.
#pragma once

#include <string>
#include <vector>

namespace vnet::process {

struct ServiceUser {
   std::string user;
   std::string group; // empty: whatever the process has

   bool operator==(ServiceUser const&) const = default;
};

// The first of the candidates that this host has and that this process can become, with its own
// group. In a user namespace that maps too little, "root" and an empty group: that root has no
// rights outside. Throws Error if it can't be found out.
ServiceUser FindServiceUser(std::vector<std::string> const& candidates = {"dnsmasq", "nobody"});

} // namespace vnet::process
