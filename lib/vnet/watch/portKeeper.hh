// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps the forwarded ports of this host from others.
#pragma once

#include "vnet/host/portHolder.hh"
#include "vnet/services/wanted.hh"

#include <map>
#include <optional>
#include <set>
#include <utility>

namespace vnet::watch {

// Holds what it can as long as it lives, which a process that comes and goes couldn't.
class PortKeeper {
public:
   // Holds the ports of these forwards and lets go of others. One that a service of the host has is
   // logged, once as long as it is wanted, and tried again each time.
   void Keep(std::set<services::WantedForward> const& forwards);

private:
   using Port = std::pair<bool, std::uint16_t>; // TCP or not, and its number

   std::map<Port, std::optional<host::PortHolder>> ports;
};

} // namespace vnet::watch
