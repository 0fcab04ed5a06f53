// SPDX-License-Identifier: GPL-2.0-or-later
// Our networks beside firewalld.
#pragma once

#include "vnet/process/zones.hh"
#include "vnet/services/wanted.hh"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace vnet::engine {

struct Host;

// Of a device that is in none of its zones firewalld lets hardly anything through. So bridges that
// guests reach the host by go into a zone of ours, which comes with us and which its owner may
// change. One that somebody put into another zone stays there.
//
// The networks run without: what firewalld refuses is told, and no failure of theirs.
class FirewallZone {
public:
   // Null: there is no firewalld.
   FirewallZone(Host& hostOfCaller, std::shared_ptr<process::Zones> zonesOfHost);

   // Whether the bridge is in a zone, or needs none. Where that can't be known, all is right.
   bool IsRight(services::WantedNetwork const& wanted);
   void Apply(services::WantedNetwork const& wanted);
   // Takes out the bridges of all networks but these.
   void Sweep(std::set<unsigned int> const& networks);

private:
   using Devices = std::map<std::string, std::string>;

   Host& host;
   std::shared_ptr<process::Zones> const zones;
   bool known = false;
   unsigned long generation = 0; // of firewalld's rules, when it was asked
   Devices devices;
   bool isOffered = false; // there is a zone of ours

   Devices const& Read();
   void Ask();
   void TakeOut(std::string const& bridge);
};

} // namespace vnet::engine
