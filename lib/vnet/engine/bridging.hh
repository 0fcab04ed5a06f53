// SPDX-License-Identifier: GPL-2.0-or-later
// Which host adapters are joined to which bridges.
#pragma once

#include "vnet/services/wanted.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

class Notes;
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
   // Whether what is joined is what is wanted, and as it was when it was joined.
   bool IsRight(services::WantedNetwork const& wanted, Notes const& notes);
   // Joins what is wanted, or puts it right. An adapter that another bridge has leaves it first.
   void Apply(services::WantedNetwork const& wanted, Notes const& notes);
   // What the user should know of the choice.
   std::vector<std::string> Remark(services::WantedNetwork const& wanted) const;
   // Takes off adapters of bridges that aren't there, and removes what was begun for one.
   void Sweep();

private:
   Host& host;

   void Detach(std::string const& adapter);
};

} // namespace vnet::engine
