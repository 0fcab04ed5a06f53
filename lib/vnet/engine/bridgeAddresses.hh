// SPDX-License-Identifier: GPL-2.0-or-later
// The addresses and routes that a network has on its bridge.
#pragma once

#include "vnet/host/addresses.hh"
#include "vnet/host/routes.hh"
#include "vnet/services/wanted.hh"

#include <string>
#include <vector>

namespace vnet::engine {

struct Device;
struct Host;

// The bridge has no others: what isn't wanted is removed, but for what the kernel makes itself, and
// routes that someone else added. Every failure throws Error.
class BridgeAddresses {
public:
   // The protocol number by which the kernel keeps our routes apart from others'.
   static constexpr unsigned char ourProtocol = 116;

   BridgeAddresses(Host& hostOfCaller, std::string bridgeName);

   // What isn't as the network wants it.
   std::vector<std::string> Compare(services::WantedNetwork const& wanted) const;
   void Apply(services::WantedNetwork const& wanted);
   // Removes all of them.
   void Remove();

private:
   using InterfaceAddresses = std::vector<host::InterfaceAddress>;

   struct Difference {
      InterfaceAddresses missing;
      InterfaceAddresses surplus;
      std::vector<host::Route> missingRoutes;
      std::vector<host::Route> surplusRoutes;
   };

   Host& host;
   std::string bridge;

   Device const* Find() const;
   Difference FindDifference(services::WantedNetwork const& wanted) const;
};

} // namespace vnet::engine
