// SPDX-License-Identifier: GPL-2.0-or-later
// What is looked for, one cause each. Each depends on its arguments alone, but for the files that
// it names.
#pragma once

#include "vnet/doctor/finding.hh"
#include "vnet/doctor/patient.hh"
#include "vnet/doctor/surroundings.hh"

namespace vnet::doctor {

// "stopped": it isn't on the host. "foreign-device": someone else's device has its bridge's name.
// "settings": the database asks for what it can't have.
Findings FindStates(Patient const& patient);
// "differs": something of it isn't as the database wants, that nothing else here explains.
Findings FindDifferences(Patient const& patient, Findings const& others);
// "filter": a table of others drops what it lives on.
Findings FindFilters(Patient const& patient);
// "port-taken": another server has the port of its own. "apparmor": a profile keeps dnsmasq from
// its files. "server-dead": its dnsmasq doesn't run, and nothing tells why.
Findings FindDeadServer(Patient const& patient, Surroundings const& around);
// "forward-taken": a service of the host has the port that is forwarded.
Findings FindTakenForwards(Patient const& patient, Surroundings const& around);
// "overlap": another device, such as a VPN's, has or leads to addresses of its subnet.
Findings FindOverlaps(Patient const& patient, Surroundings const& around);
// "wifi": it is bridged to a Wi-Fi adapter. "no-adapter": to one that isn't there. "no-carrier": to
// one without a cable, or that is off.
Findings FindBridging(Patient const& patient, Surroundings const& around);
// "forwarding-off": the host doesn't pass on what guests send.
Findings FindForwardingOff(Patient const& patient, Surroundings const& around);

} // namespace vnet::doctor
