// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/checks.hh"

namespace vnet::doctor {

namespace {

std::string GetSubject(engine::Obstacle const& obstacle)
{
   return obstacle.owner.empty() ? "A firewall of the host"
                                 : "The host's firewall, of " + obstacle.owner + ",";
}

} // namespace

Findings FindFilters(Patient const& patient)
{
   Findings findings;
   if (!patient.report) {
      return findings;
   }
   for (auto const& obstacle : patient.report->obstacles) {
      findings.push_back({"filter", patient.index,
                          GetSubject(obstacle) + " doesn't " + obstacle.need + ": chain " +
                             obstacle.chain + " of table " + obstacle.family + " " +
                             obstacle.table + " drops it.",
                          obstacle.advice});
   }
   return findings;
}

} // namespace vnet::doctor
