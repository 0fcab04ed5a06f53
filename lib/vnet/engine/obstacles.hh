// SPDX-License-Identifier: GPL-2.0-or-later
// What rules of others keep from our networks.
#pragma once

#include "vnet/engine/report.hh"
#include "vnet/host/filterWalk.hh"
#include "vnet/host/netlink.hh"
#include "vnet/services/wanted.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

class HostView;

// A packet that one table accepts may still be dropped by another: no rule of ours can let pass
// what a firewall of the host drops, so we tell what would. Throws Error.
class Obstacles {
public:
   explicit Obstacles(HostView const& viewOfCaller);

   // Of IPv4.
   std::vector<Obstacle> Find(services::WantedNetwork const& wanted);

private:
   HostView const& view;
   host::NetlinkSocket socket;
   std::optional<unsigned long> generation; // of what was read
   std::vector<host::FilterTable> tables;

   void Read();
};

} // namespace vnet::engine
