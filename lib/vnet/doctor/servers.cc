// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"
#include "vnet/doctor/confinement.hh"
#include "vnet/doctor/portOwner.hh"

#include <algorithm>

namespace vnet::doctor {

namespace {

constexpr std::uint16_t dnsPort = 53;
constexpr std::uint16_t dhcpPort = 67;

// Whether dnsmasq couldn't have the port on the network's addresses beside this one. One that is
// bound to another device is in nobody's way.
bool IsInTheWay(host::Socket const& socket, Patient const& patient, Surroundings const& around)
{
   bool const wanted = (socket.port == dnsPort && patient.settings.useNat) ||
                       (socket.port == dhcpPort && !socket.tcp && patient.settings.useDhcp);
   auto const* const bridge = around.FindLink(patient.name);
   bool const here = socket.link == 0 || (bridge && bridge->index == socket.link);
   auto const subnet = patient.settings.GetSubnet();
   return wanted && here && (!socket.address || (subnet && subnet->Contains(*socket.address)));
}

std::string DescribePort(host::Socket const& socket, std::string const& unit)
{
   return std::string(socket.tcp ? "TCP" : "UDP") + " port " + std::to_string(socket.port) +
          " is taken" + (unit.empty() ? " by another server" : " by " + unit);
}

Findings FindTakenPorts(Patient const& patient, Surroundings const& around)
{
   Findings findings;
   for (auto const& socket : around.sockets) {
      if (!IsInTheWay(socket, patient, around)) {
         continue;
      }
      auto const unit = FindUnit(around.roots.sys + "/fs/cgroup", socket);
      auto const start = unit.empty() ? "" : " && " + patient.GetStart();
      Finding const found{"port-taken", patient.index,
                          "The network's dnsmasq doesn't run: " + DescribePort(socket, unit) + ".",
                          GetFreeing(unit, socket) + start};
      if (std::ranges::find(findings, found) == findings.end()) {
         findings.push_back(found);
      }
   }
   return findings;
}

// Behind a colon; empty where there is no service manager.
std::string GetManagersWord(Patient const& patient)
{
   for (auto const& remark : patient.report->remarks) {
      if (patient.IsOfServer(remark)) {
         return remark.substr(remark.find(": "));
      }
   }
   return {};
}

} // namespace

Findings FindDeadServer(Patient const& patient, Surroundings const& around)
{
   if (!patient.LacksServer()) {
      return {};
   }
   if (auto const taken = FindTakenPorts(patient, around); !taken.empty()) {
      return taken;
   }
   if (IsDnsmasqConfined(around.roots.sys)) {
      return {{"apparmor", patient.index,
               "The network's dnsmasq doesn't run: AppArmor enforces a profile for dnsmasq that "
               "may not know its files.",
               GetProfileRemedy() + " && " + patient.GetStart()}};
   }
   return {{"server-dead", patient.index,
            "The network's dnsmasq doesn't run, so guests get neither addresses nor names" +
               GetManagersWord(patient) + ".",
            patient.GetStart()}};
}

} // namespace vnet::doctor
