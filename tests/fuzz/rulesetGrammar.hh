// SPDX-License-Identifier: GPL-2.0-or-later
// What a network's transaction for nftables may hold.
#pragma once

#include "fuzz/permitted.hh"

#include <string>

namespace fuzz {

// The first line or word that may not stand there, in quotation marks; empty if all is well. A good
// one replaces the network's own table and touches nothing else.
std::string FindBadRule(std::string const& ruleset, Permitted const& permitted);

} // namespace fuzz
