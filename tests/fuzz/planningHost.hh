// SPDX-License-Identifier: GPL-2.0-or-later
// A host on which nothing happens, but everything is planned and looked at.
#pragma once

#include "fuzz/planCheck.hh"
#include "vnet/interface/hostSide.hh"

#include <set>
#include <string>
#include <vector>

namespace fuzz {

class PlanningHost : public vnet::HostSide {
public:
   using Settings = vnet::Settings;

   bool HasPrivilege() override { return true; }
   std::vector<std::string> ListAdapters() override { return {"eth0", "eth1", "wlan0"}; }
   std::vector<vnet::Subnet> ListOccupied(unsigned int) override
   {
      return {{{0xc0a80000}, 20}, {{0x0a000000}, 8}};
   }

   void EnableAdapter(Settings const& settings, unsigned int i) override { Look(settings, i); }
   void DisableAdapter(Settings const& settings, unsigned int i) override { Look(settings, i); }
   void UpdateDhcp(Settings const& settings, unsigned int i) override { Look(settings, i); }
   void UpdateNat(Settings const& settings, unsigned int i) override { Look(settings, i); }
   void StartService(Settings const& settings, unsigned int i, vnet::Service) override
   {
      Look(settings, i);
   }
   void StopService(Settings const&, unsigned int, vnet::Service) override {}
   void RemoveNetwork(Settings const& settings, unsigned int i) override { Look(settings, i); }
   void Finish(Settings const& settings, bool) override { CheckPlans(settings); }

private:
   // A save asks for the same plan several times in a row.
   void Look(Settings const& settings, unsigned int index)
   {
      if (settings != last) {
         looked.clear();
         last = settings;
      }
      if (looked.insert(index).second) {
         CheckPlan(settings, index);
      }
   }

   Settings last;
   std::set<unsigned int> looked; // with these settings
};

} // namespace fuzz
