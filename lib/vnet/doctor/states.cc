// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"

#include <algorithm>
#include <map>

namespace vnet::doctor {

namespace {

// Which difference another finding explains.
std::multimap<std::string, std::string> const explained = {
   {"dnsmasq", "port-taken"},      {"dnsmasq", "apparmor"},   {"dnsmasq", "server-dead"},
   {"switches", "forwarding-off"}, {"adapter", "no-adapter"}, {"adapter", "no-carrier"}};

bool IsExplained(std::string const& difference, Findings const& others)
{
   auto const [begin, end] = explained.equal_range(difference);
   return std::any_of(begin, end, [&](auto const& entry) {
      return std::ranges::find(others, entry.second, &Finding::cause) != others.end();
   });
}

// Without an adapter a bridged network is there only while something is plugged in.
bool IsToRun(Patient const& patient)
{
   return patient.settings.IsHosted() || !patient.adapters.empty();
}

// What keeps it from starting while its name is taken.
std::string GetRenaming(std::string const& name)
{
   return "ip link set " + name + " down && ip link set " + name + " name other-" + name;
}

} // namespace

Findings FindStates(Patient const& patient)
{
   Findings findings;
   if (!patient.report) {
      return findings;
   }
   auto const& [name, state] = std::pair(patient.name, patient.report->state);
   if (state == engine::State::Foreign) {
      findings.push_back(
         {"foreign-device", patient.index,
          "Someone else's device is called " + name + ", so the network has no bridge.",
          GetRenaming(name) + " && " + patient.GetStart()});
   } else if (state != engine::State::Running && IsToRun(patient)) {
      findings.push_back(
         {"stopped", patient.index, "The network doesn't run.", patient.GetStart()});
   }
   for (auto const& remark : patient.report->remarks) {
      // What is to be said of adapters and servers is looked for by itself.
      if (remark.starts_with("bridge ") || patient.IsOfServer(remark)) {
         continue;
      }
      findings.push_back({"settings", patient.index,
                          "It can't be had as it is set: " + remark + ".", "tavrin-netcfg"});
   }
   return findings;
}

Findings FindDifferences(Patient const& patient, Findings const& others)
{
   if (!patient.Runs()) {
      return {};
   }
   std::string all;
   for (auto const& difference : patient.report->differences) {
      if (!IsExplained(difference, others)) {
         all += (all.empty() ? "" : ", ") + difference;
      }
   }
   if (all.empty()) {
      return {};
   }
   return {{"differs", patient.index, "On the host it isn't as the database wants: " + all + ".",
            patient.GetStart()}};
}

} // namespace vnet::doctor
