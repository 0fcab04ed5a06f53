// SPDX-License-Identifier: GPL-2.0-or-later
// The table of rules of a network.
#pragma once

#include "vnet/engine/notes.hh"

#include <map>
#include <string>
#include <vector>

namespace vnet::engine {

struct Host;

// Whether the rules that run are the ones wanted can't be read off them: the kernel tells of them
// in other words. So we note which text was applied last and what the kernel told of it then. Both
// have to agree, so a table that was altered, flushed or removed by anyone is seen. Once compared,
// a table is compared again when the kernel tells that it changed.
//
// Every failure throws Error.
class Rules {
public:
   explicit Rules(Host& hostOfCaller) : host(hostOfCaller) {}

   // Whether the text's rules run.
   bool Run(unsigned int index, std::string const& text, Notes const& notes);
   // Replaces the table in one transaction, if it differs. Returns whether it did.
   bool Apply(unsigned int index, std::string const& text, Notes const& notes);
   void Remove(unsigned int index);

private:
   struct Known {
      std::string text;
      unsigned long generation = 0; // of the table
      Notes::Rules notes;

      bool operator==(Known const&) const = default;
   };

   Host& host;
   std::map<unsigned int, Known> known;

   // What the kernel says of the table that this text made.
   std::string Describe(std::string const& table, std::string const& text);
};

} // namespace vnet::engine
