// SPDX-License-Identifier: GPL-2.0-or-later
// What a bridge knows of who is behind which of its ports.
#pragma once

#include "vnet/host/macAddress.hh"

#include <vector>

namespace vnet::host {

class RouteSocket;
struct Link;

struct ForwardingEntry {
   enum class Kind {
      Learned,
      Pinned, // set by hand
      Own     // of the bridge or of the port itself
   };

   MacAddress mac;
   int port = 0; // index of the device behind which it is
   Kind kind = Kind::Learned;

   bool operator==(ForwardingEntry const&) const = default;
};

// Every failure throws Error.
class ForwardingTable {
public:
   explicit ForwardingTable(RouteSocket& socketOfCaller) : socket(socketOfCaller) {}

   std::vector<ForwardingEntry> List(Link const& bridge);
   // Forgets all that was learned behind this port.
   void FlushLearned(Link const& port);
   // This address is behind this port, whatever frames claim elsewhere.
   void Pin(Link const& port, MacAddress mac);
   // One that isn't there is no failure.
   void Unpin(Link const& port, MacAddress mac);

private:
   RouteSocket& socket;
};

} // namespace vnet::host
