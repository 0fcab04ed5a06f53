// SPDX-License-Identifier: GPL-2.0-or-later
// Switches of the host that networks need, and that are given back.
#pragma once

#include "vnet/services/wanted.hh"

#include <set>
#include <string>
#include <vector>

namespace vnet::host {
class Sysctl;
}

namespace vnet::engine {

// Remembers in a file of the run folder what each switch was before and which networks use it. The
// note is written before the switch, and taken back after it, so that whatever comes in between, a
// switch is given back. The last user's leaving gives it back, unless someone else set it since.
class HostSwitches {
public:
   HostSwitches(host::Sysctl const& kernel, std::string const& runFolder);

   // The switches that a network needs: those that it has of others are let go, in reverse order,
   // then these are set, in their order, up to one that can't be set. A switch that the kernel or
   // a device that went doesn't have is left out. Throws Error with all that went wrong.
   void Use(unsigned int index, std::vector<services::WantedSysctl> const& switches);
   // Whether the network has just these, and they are set.
   bool HasAll(unsigned int index, std::vector<services::WantedSysctl> const& switches);
   // The networks that use any.
   std::set<unsigned int> ListUsers();

private:
   struct Switch {
      std::string family;
      std::string device;
      std::string name;
      std::string ours;
      std::string before;
      std::set<unsigned int> users;

      bool Is(services::WantedSysctl const& wanted) const;
   };
   using Switches = std::vector<Switch>; // in the order in which they were set

   host::Sysctl const& sysctl;
   std::string folder;
   std::string path;
   std::string lastText; // of the file, and what it says
   Switches lastSwitches;

   static Switches Parse(std::string const& text);
   // Valid until the next call.
   Switches const& Read();
   void Write(Switches const& switches) const;
   void Take(Switches& switches, unsigned int index, services::WantedSysctl const& wanted);
   void LetGo(unsigned int index, Switch& one);
   void GiveBack(Switch const& one) const;
};

} // namespace vnet::engine
