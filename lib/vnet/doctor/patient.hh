// SPDX-License-Identifier: GPL-2.0-or-later
// The network that is examined.
#pragma once

#include "vnet/engine/report.hh"
#include "vnet/values/settings.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::doctor {

struct Patient {
   unsigned int index = 0;
   std::string name; // "tvnet8"
   NetworkSettings settings;
   std::vector<std::string> adapters;    // that it is to be bridged to
   std::optional<engine::Report> report; // empty without the rights of root

   bool LacksServer() const { return Runs() && report->wantsDnsmasq && !report->dnsmasqRuns; }
   // What the service manager says of the server that it lacks: no matter of settings.
   bool IsOfServer(std::string const& remark) const
   {
      return LacksServer() && remark.starts_with("serve " + name + ": ");
   }
   // The command that brings it in line with the database.
   std::string GetStart() const { return "tavrin-vnets start " + name; }
   bool Runs() const { return report && report->state == engine::State::Running; }
};

} // namespace vnet::doctor
