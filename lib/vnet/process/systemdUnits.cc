// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/systemdUnits.hh"

#include "vnet/process/systemdManager.hh"

namespace vnet::process {

namespace {

[[noreturn]] void Fail(SystemdManager& manager, char const* action, std::string const& unit,
                       std::string const& ending)
{
   auto const result = manager.GetText(unit, "org.freedesktop.systemd1.Service", "Result");
   throw Error(action, unit,
               ending + " (" + result + "); \"journalctl -u " + unit + "\" tells why");
}

} // namespace

SystemdUnits::SystemdUnits(std::string addressOfBus, std::chrono::milliseconds patienceOfCaller)
   : address(std::move(addressOfBus)), patience(patienceOfCaller)
{}

// The manager bounds how often a service is started, so that one which dies at once doesn't come
// again without end; but what its user asks for counts for nothing there.
void SystemdUnits::Start(std::string const& unit)
{
   Ask<SystemdManager>(address, patience, "start", unit, [&](SystemdManager& manager) {
      manager.Reset(unit);
      if (auto const ending = manager.RunJob("StartUnit", unit); ending != "done") {
         Fail(manager, "start", unit, ending);
      }
   });
}

void SystemdUnits::Stop(std::string const& unit)
{
   Ask<SystemdManager>(address, patience, "stop", unit, [&](SystemdManager& manager) {
      try {
         if (auto const ending = manager.RunJob("StopUnit", unit); ending != "done") {
            Fail(manager, "stop", unit, ending);
         }
      } catch (Refusal const& refusal) {
         if (!SystemdManager::IsNoSuchUnit(refusal)) {
            throw;
         }
      }
   });
}

std::string SystemdUnits::GetState(std::string const& unit)
{
   return Ask<SystemdManager>(address, patience, "look at", unit, [&](SystemdManager& manager) {
      return manager.GetText(unit, "org.freedesktop.systemd1.Unit", "ActiveState");
   });
}

} // namespace vnet::process
