// SPDX-License-Identifier: GPL-2.0-or-later
// Which of the host's changes concern its networks.
#pragma once

#include "vnet/host/events.hh"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace vnet::watch {

// What is to be looked at after some events.
struct Findings {
   bool host = false;    // links, addresses, routes or the rules of others: every network
   bool patches = false; // someone else changed the rules between adapters and bridges
   std::set<unsigned int> networks; // of which someone else changed the rules
   std::uint32_t intruder = 0;      // pid of who changed rules last
   std::set<std::string> carriers;  // devices whose carrier has just come
   bool lost = false;               // who looks has to learn anew

   bool HasRules() const { return patches || !networks.empty(); }
};

// The kernel tells much that changes nothing for us: lifetimes of addresses, routes of routing
// daemons, counters of wireless devices, and what we did ourselves.
class ChangeFilter {
public:
   // `ownProcess` is the pid under which the kernel knows who changes rules.
   explicit ChangeFilter(std::uint32_t ownProcess) : self(ownProcess) {}

   // What is there now, after listening has begun or events were lost. Of routes, those of IPv4.
   void Learn(std::vector<host::Link> const& links,
              std::vector<host::InterfaceAddress> const& addresses,
              std::vector<host::Route> const& routes);
   void Look(host::Event const& event, Findings& findings);

private:
   using AddressKey = std::pair<host::InetAddress, unsigned char>;

   struct Device {
      host::Link link;
      std::set<AddressKey> addresses;
      bool hasRoutes = false;
   };

   std::uint32_t self;
   std::map<int, Device> devices;

   void LookAt(host::LinkChanged const& changed, Findings& findings);
   void LookAt(host::AddressChanged const& changed, Findings& findings);
   void LookAt(host::RouteChanged const& changed, Findings& findings);
   void LookAt(host::RulesetChanged const& changed, Findings& findings) const;
   void LookAt(host::EventsLost const& lost, Findings& findings);
   bool IsOurs(int link) const;
};

} // namespace vnet::watch
