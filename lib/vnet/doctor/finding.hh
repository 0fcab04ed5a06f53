// SPDX-License-Identifier: GPL-2.0-or-later
// One reason why a guest has no network.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vnet::doctor {

struct Finding {
   std::string cause;                   // a word that stays the same: "filter", "overlap", ...
   std::optional<unsigned int> network; // empty: it concerns all
   std::string text;                    // what it is, in a sentence
   std::string remedy;                  // a command line that mends it; empty if no command does

   bool operator==(Finding const&) const = default;
};

using Findings = std::vector<Finding>;

} // namespace vnet::doctor
