// SPDX-License-Identifier: GPL-2.0-or-later
// The host, its adapter on a network, a bridge with two guests, and a station beyond the adapter.
#pragma once

#include "support/netlab/lab.hh"
#include "support/netlab/packetPort.hh"
#include "support/netlab/ping.hh"
#include "vnet/host/bridgePatch.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/host/ruleset.hh"

#include <optional>
#include <string>

namespace vnet::host {

// All in 10.3.0.0/24 and fd03::/64: the host is 1, the station 9, the guests 50 and 51.
class PatchTest : public netlab::LabTest {
protected:
   void SetUp() override;

   void Attach(std::string const& adapter = "eth0");
   // Expects that nothing goes wrong.
   void Detach(std::string const& adapter = "eth0");
   // Everything that a patch touches, as the system's own tools show it.
   std::string DescribeHost();
   // Nothing of ours is left but the bridge.
   void ExpectNothingLeft();

   netlab::Lan lan;
   std::string wirePort; // of the switch, where the host's adapter is plugged in
   netlab::Namespace station;
   netlab::Namespace guest;
   netlab::Namespace otherGuest;
   // Made in SetUp, within the host.
   std::optional<RouteSocket> socket;
   std::optional<Ruleset> ruleset;
   std::optional<Links> links;
   std::optional<BridgePatch> patch;
};

} // namespace vnet::host
