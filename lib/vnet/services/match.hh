// SPDX-License-Identifier: GPL-2.0-or-later
// What the rules of a network are written with.
#pragma once

#include <string>
#include <vector>

namespace vnet::services {

// iifname and oifname throughout: unlike iif and oif they hold when the bridge is made anew.
struct Match {
   std::string in;  // from the network
   std::string out; // to it

   explicit Match(std::string const& device)
      : in("iifname \"" + device + "\""), out("oifname \"" + device + "\"")
   {}
};

// All of our bridges.
inline constexpr char const* anyInput = "iifname \"tvnet*\"";
inline constexpr char const* anyOutput = "oifname \"tvnet*\"";

// With commas between, as in a set.
inline std::string Join(std::vector<std::string> const& parts)
{
   std::string text;
   for (auto const& part : parts) {
      text += (text.empty() ? "" : ", ") + part;
   }
   return text;
}

} // namespace vnet::services
