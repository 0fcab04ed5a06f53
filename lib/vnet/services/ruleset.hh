// SPDX-License-Identifier: GPL-2.0-or-later
// The rules of a network, in nftables' language.
#pragma once

#include "vnet/services/layout.hh"
#include "vnet/services/wanted.hh"

#include <string>
#include <vector>

namespace vnet::services {

// What a hosted network's rules are made of.
struct RulesetInput {
   std::string device;
   Layout layout;
   bool nat = false;
   bool dhcp = false;
   bool activeFtp = false;
   std::uint32_t udpTimeout = 30; // seconds
   // Empty: guests of all manufacturers are taken. Else "52:54:00:00:00:00" and the like; an empty
   // list takes none.
   std::optional<std::vector<std::string>> acceptedOuis;
   std::vector<WantedForward> forwards;
};

// The bodies of the network's table.
std::string MakeHostOnlyRules(RulesetInput const& input);
std::string MakeNatRules(RulesetInput const& input);
// Translates nothing and lets nothing through, and yet keeps the kernel's translation of flows that
// exist: without it their next packet from outside would reach the host's own stack, which ends
// them.
std::string MakeParkedRules(RulesetInput const& input);
// For a bridge on which the host has nothing to say.
std::string MakeSilentRules(std::string const& device);

// The transaction that replaces the table with one of this body.
std::string MakeReplacement(unsigned int index, std::string const& body);

} // namespace vnet::services
