// SPDX-License-Identifier: GPL-2.0-or-later
// One chain of rules, as text.
#pragma once

#include <string>
#include <utility>

namespace vnet::services {

// A base chain has a declaration, "type filter hook input priority filter", and accepts what no
// rule decides; another chain is jumped to. A base chain without rules still counts: the kernel
// sees to connection tracking and translation if one is there.
class Chain {
public:
   explicit Chain(std::string chainName, std::string chainDeclaration = "")
      : name(std::move(chainName)), declaration(std::move(chainDeclaration))
   {}

   void Add(std::string const& rule) { rules += "      " + rule + "\n"; }

   // The chain within a table.
   std::string ToString() const
   {
      std::string const head =
         declaration.empty() ? "" : "      " + declaration + "; policy accept;\n";
      return "   chain " + name + " {\n" + head + rules + "   }\n";
   }

private:
   std::string name;
   std::string declaration;
   std::string rules;
};

} // namespace vnet::services
