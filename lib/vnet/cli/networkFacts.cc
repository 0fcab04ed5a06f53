// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/networkFacts.hh"

#include <algorithm>

namespace vnet::cli {

NetworkSettings GetNetwork(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   return found == settings.networks.end() ? NetworkSettings() : found->second;
}

std::vector<std::string> GetAdapters(Settings const& settings, unsigned int index)
{
   std::vector<std::string> names;
   for (auto const& [name, network] : settings.adapters) {
      if (network == index) {
         names.push_back(name);
      }
   }
   return names;
}

std::string DescribeType(Settings const& settings, unsigned int index)
{
   auto const network = GetNetwork(settings, index);
   if (network.IsHosted()) {
      return network.useNat ? "NAT" : "host-only";
   }
   if (settings.automatic == index) {
      return "bridged automatically";
   }
   return GetNetworks(settings).contains(index) ? "bridged" : "not in the database";
}

std::vector<ServiceState> ListServices(NetworkSettings const& network, engine::Report const& report)
{
   bool const runs = report.state == engine::State::Running;
   auto const rules = std::ranges::find(report.differences, "rules") == report.differences.end();
   std::vector<ServiceState> services;
   if (network.useDhcp) {
      services.push_back({"DHCP", runs && report.dnsmasqRuns, true});
   }
   if (network.useNat) {
      services.push_back({"NAT", runs, rules});
      services.push_back({"DNS", runs && report.dnsmasqRuns, true});
   }
   return services;
}

std::set<unsigned int> GetNetworks(Settings const& settings)
{
   std::set<unsigned int> networks;
   for (auto const& entry : settings.networks) {
      networks.insert(entry.first);
   }
   for (auto const& entry : settings.adapters) {
      networks.insert(entry.second);
   }
   if (settings.automatic) {
      networks.insert(*settings.automatic);
   }
   return networks;
}

} // namespace vnet::cli
