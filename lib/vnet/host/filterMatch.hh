// SPDX-License-Identifier: GPL-2.0-or-later
// Whether a rule of nftables matches a packet, and what it says then.
#pragma once

#include "vnet/host/filterWalk.hh"

namespace vnet::host {

struct FilterVerdict {
   enum class Kind { None, Accept, Drop, Return, Jump, Goto };
   Kind kind = Kind::None; // None: the next rule's turn
   std::string chain;      // of Jump and Goto
};

// Carries the rule's expressions out as the kernel does, with registers of which some bytes may be
// unknown. An expression that isn't known here ends the rule. The packet is of hook None if nothing
// at all is known of it.
FilterVerdict MatchRule(FilterRule const& rule, FilterTable const& table,
                        FilteredPacket const& packet);

} // namespace vnet::host
