// SPDX-License-Identifier: GPL-2.0-or-later
// The same networks as somebody would make them with the system's own tools: the floors.
#pragma once

#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

#include <map>
#include <string>
#include <vector>

namespace bench {

// Networks that are as the product plans them, but for switches of the kernel. Everything throws
// std::exception.
class ByHand {
public:
   // Plans the networks on the host of this thread, and writes the tools' files.
   explicit ByHand(vnet::Settings const& settings);

   std::vector<unsigned int> GetIndices() const;
   // A bridge with its addresses, by `ip -batch`.
   void MakeBridge(unsigned int index) const;
   // Its table, by `nft -f`.
   void LoadRules(unsigned int index) const;
   // Its dnsmasq, until that has bound its sockets.
   void StartDnsmasq(unsigned int index) const;
   // All tables through the library, in this process.
   void LoadRulesInProcess() const;
   void DropRules(unsigned int index) const;
   // Ends dnsmasq and removes table and bridge.
   void Remove(unsigned int index) const;

private:
   std::map<unsigned int, vnet::services::WantedNetwork> plans;
};

} // namespace bench
