// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"
#include "vnet/doctor/portOwner.hh"
#include "vnet/host/portHolder.hh"

#include <algorithm>

namespace vnet::doctor {

namespace {

// An ordinary user sees no marks, so that the sockets that hold UDP ports for us can't be told from
// others. A TCP port is held by a socket that doesn't listen, and that nobody lists.
bool MayJudge(PortForward const& forward, Patient const& patient)
{
   return forward.tcp || patient.report;
}

bool Has(host::Socket const& socket, PortForward const& forward, Patient const& patient)
{
   auto const subnet = patient.settings.GetSubnet();
   bool const ownServer = socket.address && subnet && subnet->Contains(*socket.address);
   return socket.tcp == forward.tcp && socket.port == forward.hostPort && !ownServer &&
          socket.mark != host::PortHolder::mark;
}

Finding MakeFinding(PortForward const& forward, host::Socket const& socket, Patient const& patient,
                    Surroundings const& around)
{
   auto const unit = FindUnit(around.roots.sys + "/fs/cgroup", socket);
   return {"forward-taken", patient.index,
           std::string(forward.tcp ? "TCP" : "UDP") + " port " + std::to_string(forward.hostPort) +
              " is forwarded to " + forward.address.ToString() + ", and " +
              (unit.empty() ? "a service of the host" : unit) +
              " has it too: one of them isn't reached.",
           GetFreeing(unit, socket)};
}

} // namespace

Findings FindTakenForwards(Patient const& patient, Surroundings const& around)
{
   Findings findings;
   if (!patient.settings.useNat) {
      return findings;
   }
   for (auto const& forward : patient.settings.nat.forwards) {
      auto const found = std::ranges::find_if(around.sockets, [&](host::Socket const& socket) {
         return MayJudge(forward, patient) && Has(socket, forward, patient);
      });
      if (found != around.sockets.end()) {
         findings.push_back(MakeFinding(forward, *found, patient, around));
      }
   }
   return findings;
}

} // namespace vnet::doctor
