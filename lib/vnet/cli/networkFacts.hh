// SPDX-License-Identifier: GPL-2.0-or-later
// What all that is told of a network begins with.
#pragma once

#include "vnet/engine/report.hh"
#include "vnet/values/settings.hh"

#include <set>
#include <string>
#include <vector>

namespace vnet::cli {

// The networks that the database holds, also those that only an adapter or the automatic bridging
// names.
std::set<unsigned int> GetNetworks(Settings const& settings);
// The settings of one network; all defaults if the database doesn't hold it.
NetworkSettings GetNetwork(Settings const& settings, unsigned int index);
// The adapters that it is to be bridged to.
std::vector<std::string> GetAdapters(Settings const& settings, unsigned int index);
// "NAT", "host-only", "bridged", "bridged automatically", "not in the database"
std::string DescribeType(Settings const& settings, unsigned int index);

struct ServiceState {
   std::string name; // "DHCP", "NAT", "DNS"
   bool runs = false;
   bool asWanted = true;
};

// Those that the network is to have.
std::vector<ServiceState> ListServices(NetworkSettings const& network,
                                       engine::Report const& report);

} // namespace vnet::cli
