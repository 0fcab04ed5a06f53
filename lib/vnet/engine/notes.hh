// SPDX-License-Identifier: GPL-2.0-or-later
// What we remember of a network while it is on the host.
#pragma once

#include "vnet/engine/parts.hh"
#include "vnet/services/wanted.hh"

#include <set>
#include <string>
#include <vector>

namespace vnet::engine {

// Files in the network's folder of /run/tavrin, each written whole. They tell what can't be asked
// of the kernel; what can be is asked. Damaged or foreign ones count as not there, and then more is
// done anew than needed.
class Notes {
public:
   Notes(std::string const& runFolder, unsigned int index);

   // Whether there are any, also only in part.
   bool Exist() const;
   // Removes them and the folder with whatever a process that died left there. Throws Error.
   void Remove() const;
   // The networks of which there are any.
   static std::set<unsigned int> List(std::string const& runFolder);

   // The parts that were stopped, of a network that is on the host. Writing throws Error.
   Parts ReadStopped() const;
   void WriteStopped(Parts const& parts) const;

   // The forwards whose earlier flows were dealt with, sorted.
   std::vector<services::WantedForward> ReadForwards() const;
   void WriteForwards(std::vector<services::WantedForward> const& forwards) const;

   // The rules as they were applied last, and as the kernel described them then: fingerprints of
   // both texts, which may be long.
   struct Rules {
      std::string text;
      std::string description;

      static Rules Of(std::string const& text, std::string const& description);
      bool IsOf(std::string const& appliedText) const;
      bool operator==(Rules const&) const = default;
   };
   Rules ReadRules() const;
   void WriteRules(Rules const& rules) const;

   // What joining an adapter came to: whether it was this.
   bool IsPatch(std::string const& description) const;
   void WritePatch(std::string const& description) const;
   void RemovePatch() const;

private:
   std::string folder;

   std::string Read(char const* name) const;
   void Write(char const* name, std::string const& text) const;
};

} // namespace vnet::engine
