// SPDX-License-Identifier: GPL-2.0-or-later
// systemd's units.
#pragma once

#include "vnet/process/systemBusAddress.hh"
#include "vnet/process/units.hh"

#include <chrono>
#include <string>

namespace vnet::process {

// Speaks to the manager by D-Bus, as org.freedesktop.systemd1(5) has it. The manager asks no more
// of a caller than to be root. Each call has a connection of its own, so one object may serve long.
class SystemdUnits : public Units {
public:
   // `addressOfBus` is one of D-Bus's.
   explicit SystemdUnits(std::string addressOfBus = systemBusAddress,
                         std::chrono::milliseconds patienceOfCaller = std::chrono::seconds(30));

   void Start(std::string const& unit) override;
   void Stop(std::string const& unit) override;
   std::string GetState(std::string const& unit) override;

private:
   std::string const address;
   std::chrono::milliseconds const patience;
};

} // namespace vnet::process
