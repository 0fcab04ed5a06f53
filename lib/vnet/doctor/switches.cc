// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"
#include "vnet/engine/ours.hh"
#include "vnet/host/sysctl.hh"

namespace vnet::doctor {

namespace {

// Of a network that doesn't run, something else is told. Without the rights of root its bridge has
// to do.
bool MayRun(Patient const& patient, Surroundings const& around)
{
   auto const* const link = around.FindLink(patient.name);
   return patient.report ? patient.Runs() : link && engine::FindBridgeIndex(*link).has_value();
}

} // namespace

Findings FindForwardingOff(Patient const& patient, Surroundings const& around)
{
   Findings findings;
   if (!patient.settings.useNat || !MayRun(patient, around)) {
      return findings;
   }
   host::Sysctl const sysctl(around.roots.switches);
   for (auto const& device : {patient.name, around.wayOut}) {
      if (!device.empty() && sysctl.Read("ipv4", device, "forwarding") == "0") {
         findings.push_back({"forwarding-off", patient.index,
                             "The host doesn't forward what comes in by " + device +
                                ": net.ipv4.conf." + device +
                                ".forwarding is 0, as after somebody set net.ipv4.ip_forward.",
                             patient.GetStart()});
      }
   }
   return findings;
}

} // namespace vnet::doctor
