// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps the LANs beyond our adapters informed of guests.
#pragma once

#include "vnet/host/bridgePatch.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/ruleset.hh"
#include "vnet/watch/announcer.hh"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnet::watch {

// Who joins an adapter and a bridge announces the guests once. A LAN hears of them again here, and
// also after a carrier came back. Belongs to the network namespace of the thread that made it.
class LanTeller {
public:
   // Looks at which adapters are joined to bridges now. `carriers` are devices whose carrier came.
   // Throws Error.
   void Look(std::set<std::string> const& carriers);
   // When there is something to tell; empty if there is nothing.
   std::optional<Clock::time_point> GetDue() const { return announcer.GetDue(); }
   // Tells what is due.
   void Tell();

private:
   host::RouteSocket socket;
   host::Ruleset ruleset;
   host::BridgePatch patches{socket, ruleset};
   Announcer announcer;
   std::vector<host::Patch> joined; // when we last looked
};

} // namespace vnet::watch
