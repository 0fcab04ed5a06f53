// SPDX-License-Identifier: GPL-2.0-or-later
// What is different in other settings.
#pragma once

#include "vnet/values/settings.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::document {

struct Change {
   std::string object; // "tvnet8", "tvnet8 forward tcp 2222", "adapter eth0", "automatic"
   std::string key;    // of a network's value; empty if the object itself comes, goes or changes
   std::optional<std::string> before; // empty: not there
   std::optional<std::string> after;

   bool operator==(Change const&) const = default;
};

// In the order of the document. None if and only if the two are equal.
std::vector<Change> FindChanges(Settings const& before, Settings const& after);

// "tvnet8 mtu: 1500 -> 1400"
std::string ToString(Change const& change);

} // namespace vnet::document
