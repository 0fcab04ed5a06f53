// SPDX-License-Identifier: GPL-2.0-or-later
// A double of systemd's manager on D-Bus.
#pragma once

#include "lib/vnet/process/busDouble.hh"

#include <map>

namespace vnet::process {

class ManagerDouble : public BusDouble {
public:
   // By default under the manager's name.
   explicit ManagerDouble(char const* name = managerName);
   ~ManagerDouble() override;

   // Answers so from now on. Results of jobs are by the unit's name; without one it is "done". With
   // "never" the job doesn't end, with "refused" there is none, with "unknown" no such unit.
   void SetResult(std::string const& unit, std::string const& result);
   // From now on it has the manager's name as well.
   void TakeName() { BusDouble::TakeName(managerName); }

private:
   std::map<std::string, std::string> results;
   unsigned int jobs = 0;

   static constexpr char managerName[] = "org.freedesktop.systemd1";

   void Answer(std::string const& method, GVariant* parameters,
               GDBusMethodInvocation* invocation) override;
   void AnswerJob(std::string const& unit, std::string const& result,
                  GDBusMethodInvocation* invocation);
};

} // namespace vnet::process
