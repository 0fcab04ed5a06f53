// SPDX-License-Identifier: GPL-2.0-or-later
// The files of a network's dnsmasq.
#pragma once

#include "vnet/services/layout.hh"
#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet::services {

struct HostFacts;

// Where the files of a network's dnsmasq are, without their texts: one that was left by an earlier
// process is found by them.
WantedDnsmasq PlaceDnsmasq(std::string const& device, HostFacts const& facts);

// The layout has a server.
WantedDnsmasq MakeDnsmasq(std::string const& device, NetworkSettings const& settings,
                          Layout const& layout, HostFacts const& facts,
                          std::vector<std::string>& remarks);

} // namespace vnet::services
