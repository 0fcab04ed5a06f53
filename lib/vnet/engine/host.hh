// SPDX-License-Identifier: GPL-2.0-or-later
// All of the kernel that the engine speaks to.
#pragma once

#include "vnet/engine/hostView.hh"
#include "vnet/host/addresses.hh"
#include "vnet/host/bridgePatch.hh"
#include "vnet/host/conntrack.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/routes.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/host/sysctl.hh"

namespace vnet::engine {

// One set of sockets for all steps: closing one of netfilter's waits until the kernel has put away
// what the last change of rules left, some 15 ms. Making it throws Error.
struct Host {
   host::RouteSocket socket;
   host::Links links{socket};
   host::Addresses addresses{socket};
   host::Routes routes{socket};
   host::Ruleset ruleset;
   host::Sysctl sysctl;
   host::Conntrack flows;
   host::BridgePatch patches{socket, ruleset};
   HostView view{socket};
};

} // namespace vnet::engine
