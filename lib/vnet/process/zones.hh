// SPDX-License-Identifier: GPL-2.0-or-later
// The host's firewall, as far as our networks meet it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vnet::process {

// firewalld lets through what the zone of a device allows, and has one zone for all devices that
// nobody put into any. What is changed here holds until firewalld ends.
class Zones {
public:
   virtual ~Zones() = default;

   // The devices that were put into a zone, each with it; empty if no firewalld filters for this
   // network namespace. Throws Error.
   virtual std::optional<std::map<std::string, std::string>> ListDevices() = 0;
   // All that there are. Throws Error.
   virtual std::vector<std::string> ListZones() = 0;
   // The device, which need not exist, must not be in another. Throws Error.
   virtual void Add(std::string const& zone, std::string const& device) = 0;
   // Throws Error, also if it isn't in it.
   virtual void Remove(std::string const& zone, std::string const& device) = 0;
};

} // namespace vnet::process
