// SPDX-License-Identifier: GPL-2.0-or-later
// Which host adapters are joined to which bridges.
#pragma once

#include "vnet/services/wanted.hh"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

struct Host;

// Every failure throws Error.
class Bridging {
public:
   explicit Bridging(Host& hostOfCaller) : host(hostOfCaller) {}

   // The adapters that are joined to the bridge, wholly or in part.
   std::vector<std::string> List(std::string const& bridge) const;
   // The adapter that the network should use; none if none of its adapters is there.
   std::optional<std::string> Choose(services::WantedNetwork const& wanted) const;
   // Takes off what isn't wanted.
   void Release(services::WantedNetwork const& wanted);
   // Joins what is wanted, or puts it right. An adapter that another bridge has leaves it first.
   void Apply(services::WantedNetwork const& wanted);
   // What the user should know of the choice.
   std::vector<std::string> Remark(services::WantedNetwork const& wanted) const;
   // Takes off adapters of bridges that aren't there, and of none.
   void Sweep();

private:
   struct Known {
      std::string adapter;
      unsigned long generation = 0; // of the host's view

      bool operator==(Known const&) const = default;
   };

   Host& host;
   std::map<std::string, Known> known; // by bridge: what was joined, or looked at, last

   void Detach(std::string const& adapter);
};

} // namespace vnet::engine
