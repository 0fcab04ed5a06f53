// SPDX-License-Identifier: GPL-2.0-or-later
// The host's devices, addresses and routes, kept fresh by what the kernel tells.
#pragma once

#include "vnet/host/addresses.hh"
#include "vnet/host/events.hh"
#include "vnet/host/links.hh"
#include "vnet/host/routes.hh"
#include "vnet/values/address.hh"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vnet::host {
class RouteSocket;
}

namespace vnet::engine {

struct Device {
   host::Link link;
   std::vector<host::InterfaceAddress> addresses; // of both families, in the kernel's order
   std::vector<host::Route> routes;               // of IPv4, of all tables

   // What follows from these, and is asked for of all devices for each network.
   std::optional<unsigned int> network; // whose bridge it is
   bool isOurs = false;                 // a bridge or a half of a patch
   std::vector<Subnet> subnets;         // of IPv4, with an address in them or a route to them
   std::optional<std::uint32_t> defaultMetric; // of the best default route of the main table
};

// Comparing 256 networks takes a list of everything once and not 256 times: afterwards only changes
// are read. Where the kernel removes routes without telling, they are missing here rather than
// there too many.
class HostView {
public:
   // Throws Error.
   explicit HostView(host::RouteSocket& socketOfCaller);

   // Takes in what changed since the last call, by whomever. Throws Error.
   void Refresh();

   // By interface index; routes without a device stand at index 0.
   std::map<int, Device> const& GetDevices() const { return devices; }
   // Null if there is none. Valid until the next Refresh.
   Device const* Find(std::string const& name) const;
   Device const* Find(int index) const;
   // The devices that are plugged into a bridge.
   std::vector<Device const*> ListPorts(int bridge) const;
   // The device of IPv4's default route; null if there is none.
   Device const* FindDefault() const;

   // Grows with every change of links, addresses, routes and rules.
   unsigned long GetGeneration() const { return generation; }
   // Grows with every change of the tables of this name.
   unsigned long GetTableGeneration(std::string const& table) const;
   // Grows with every change of tables that aren't ours.
   unsigned long GetOthersTableGeneration() const { return tableEpoch + others; }

private:
   host::RouteSocket& socket;
   host::Events events;
   std::map<int, Device> devices;
   std::map<std::string, unsigned long> tables;
   unsigned long generation = 0;
   unsigned long tableEpoch = 0;
   unsigned long others = 0; // changes of tables that aren't ours

   bool stale = false;  // a reading broke off
   bool unsure = false; // which routes there are

   void Read();
   void ReadRoutes();
   void Apply(host::LinkChanged const& changed);
   void Apply(host::AddressChanged const& changed);
   void Apply(host::RouteChanged const& changed);
   void Apply(host::RulesetChanged const& changed);
   void Apply(host::EventsLost const& lost);
   template <class Predicate>
   void ForgetRoutes(Predicate const& matches);
   template <class Predicate>
   bool HasRoute(Predicate const& matches) const;
};

} // namespace vnet::engine
