// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"
#include "vnet/doctor/shellWord.hh"

namespace vnet::doctor {

namespace {

// The one that it uses, or while that isn't known those that it may.
std::vector<std::string> const& GetUsed(Patient const& patient)
{
   bool const joined = patient.report && !patient.report->adapters.empty();
   return joined ? patient.report->adapters : patient.adapters;
}

Finding MakeCarrierFinding(Patient const& patient, host::Link const& link)
{
   if (!link.IsUp()) {
      return {"no-carrier", patient.index,
              "The network is bridged to " + link.name + ", which is switched off.",
              "ip link set " + MakeShellWord(link.name) + " up"};
   }
   return {"no-carrier", patient.index,
           "The network is bridged to " + link.name + ", which has no cable or no peer on it.", ""};
}

} // namespace

Findings FindBridging(Patient const& patient, Surroundings const& around)
{
   Findings findings;
   if (patient.settings.IsHosted()) {
      return findings;
   }
   auto const& used = GetUsed(patient);
   std::size_t missing = 0;
   for (auto const& name : used) {
      auto const* const link = around.FindLink(name);
      if (!link) {
         ++missing;
      } else if (link->wireless) {
         findings.push_back({"wifi", patient.index,
                             "The network is bridged to " + name +
                                ", a Wi-Fi adapter, which can't carry other machines' frames; use "
                                "a network with NAT for these guests.",
                             "tavrin-netcfg"});
      } else if (used.size() == 1 && !(link->IsUp() && link->carrier)) {
         findings.push_back(MakeCarrierFinding(patient, *link));
      }
   }
   if (!used.empty() && missing == used.size()) {
      findings.push_back({"no-adapter", patient.index,
                          "None of the adapters that the network is to be bridged to is there.",
                          "tavrin-netcfg"});
   }
   return findings;
}

} // namespace vnet::doctor
