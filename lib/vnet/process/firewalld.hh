// SPDX-License-Identifier: GPL-2.0-or-later
// firewalld's zones.
#pragma once

#include "vnet/process/systemBusAddress.hh"
#include "vnet/process/zones.hh"

#include <chrono>

namespace vnet::process {

// Speaks to it by D-Bus, as firewalld.dbus(5) has it. It is asked only if it runs, and in our
// network namespace: a container or a sandbox may well see the bus of its host. Each call has a
// connection of its own, so one object may serve long.
class Firewalld : public Zones {
public:
   // `addressOfBus` is one of D-Bus's. While it starts, it answers only when its rules are made.
   explicit Firewalld(std::string addressOfBus = systemBusAddress,
                      std::chrono::milliseconds patienceOfCaller = std::chrono::seconds(5));

   std::optional<std::map<std::string, std::string>> ListDevices() override;
   std::vector<std::string> ListZones() override;
   void Add(std::string const& zone, std::string const& device) override;
   void Remove(std::string const& zone, std::string const& device) override;

private:
   std::string const address;
   std::chrono::milliseconds const patience;
};

} // namespace vnet::process
