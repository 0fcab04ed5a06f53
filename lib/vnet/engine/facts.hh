// SPDX-License-Identifier: GPL-2.0-or-later
// What plans depend on, as it stands.
#pragma once

#include "vnet/services/hostFacts.hh"

namespace vnet::engine {

struct Host;
struct Place;

// From the host's view as it was refreshed last. A way out is any device that is up, has an address
// or a route, and is neither lo, nor a port of a bridge, nor one of ours.
services::HostFacts GatherFacts(Host const& host, Place const& place,
                                std::vector<std::string> const& nameservers);

} // namespace vnet::engine
