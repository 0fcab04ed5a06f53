// SPDX-License-Identifier: GPL-2.0-or-later
// The addresses that guests were leased.
#pragma once

#include "vnet/cli/terminal.hh"
#include "vnet/json/value.hh"

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vnet::cli {

struct Lease {
   std::string address; // parsed, of IPv4 or IPv6
   std::string mac;     // as dnsmasq writes it, parsed; empty for IPv6
   std::string name;    // what the guest called itself: may be anything; empty if it didn't
   std::optional<std::int64_t> left; // seconds, negative once it ran out; empty: it never does
};

using Leases = std::map<unsigned int, std::vector<Lease>>; // by network

// From the text of a lease file of dnsmasq's (its lease.c writes it): "time MAC address name
// client-id", where the time is seconds since 1970, or 0. Lines that aren't leases are left out.
std::vector<Lease> ParseLeases(std::string_view text, std::time_t now);
// Those of a network; none if it has no file. Throws Error if that can't be read.
std::vector<Lease> ReadLeases(std::string const& stateFolder, unsigned int index, std::time_t now);

// "192.168.8.128, 52:54:00:12:34:56, box, 25 min left", fit for a terminal.
std::string DescribeLease(Lease const& lease);
// A table.
std::string DescribeLeases(Leases const& leases, Paint const& paint = Paint());
json::Value MakeLeases(std::vector<Lease> const& leases);

} // namespace vnet::cli
