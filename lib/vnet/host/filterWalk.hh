// SPDX-License-Identifier: GPL-2.0-or-later
// What filtering tables do with a packet.
#pragma once

#include "vnet/host/filters.hh"
#include "vnet/values/address.hh"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::host {

// An IPv4 packet, as far as rules can tell it from others. What is empty may be anything.
struct FilteredPacket {
   FilterHook hook = FilterHook::Forward;
   std::string in;  // the device by which it came
   std::string out; // by which it goes; empty at Input
   std::optional<Address> source;
   std::uint8_t protocol = 0; // IPPROTO_, 0 if it may be any
   std::uint16_t port = 0;    // its destination's, 0 if it may be any
   bool reply = false;        // of a connection that is established; else the first of a new one
   bool forwarded = false;    // a port forward sent it on
};

struct FilterDrop {
   std::string family;
   std::string table;
   std::string base;  // the chain that the kernel starts with
   std::string chain; // the one whose rule or policy drops
};

// Who drops or rejects the packet for good; empty if all let it pass. A rule that asks for what
// isn't known of the packet counts as one that doesn't match, so neither the exceptions that a rule
// makes for some packets nor what a table drops only at times is found.
std::optional<FilterDrop> FindDrop(std::vector<FilterTable> const& tables,
                                   FilteredPacket const& packet);
// Whether the rule is only there to leave its chain, whatever the packet.
bool AlwaysReturns(FilterRule const& rule);

} // namespace vnet::host
