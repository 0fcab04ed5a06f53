// SPDX-License-Identifier: GPL-2.0-or-later
// All networks on the host, and what stands between them.
#pragma once

#include "vnet/engine/bridging.hh"
#include "vnet/engine/dockerChain.hh"
#include "vnet/engine/firewallZone.hh"
#include "vnet/engine/host.hh"
#include "vnet/engine/hostSwitches.hh"
#include "vnet/engine/nameservers.hh"
#include "vnet/engine/network.hh"
#include "vnet/engine/obstacles.hh"
#include "vnet/engine/parts.hh"
#include "vnet/engine/place.hh"
#include "vnet/engine/report.hh"
#include "vnet/engine/rules.hh"
#include "vnet/services/hostFacts.hh"
#include "vnet/values/settings.hh"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnet::engine {

// The networks that the database holds.
std::set<unsigned int> ListKnown(Settings const& settings);

// Every failure throws Error.
class Networks {
public:
   explicit Networks(Place const& where);

   // Makes a network what settings want, but for the parts that are stopped. Of one that settings
   // don't hold, and of one that is stopped, nothing is left but, as long as anything is plugged
   // in, its bridge. A subnet that another network has is taken from there if settings give it to
   // that one no longer, or if that one is one of `yielding`; else it is a failure.
   void Apply(Settings const& settings, unsigned int index, Parts const& stopped,
              std::set<unsigned int> const& yielding = {});
   void Remove(unsigned int index);
   void ForgetLeases(unsigned int index);
   // Takes off adapters that no bridge has any more, and removes what killed processes left of
   // files and among Docker's rules.
   void Sweep();

   // Those that have anything on the host.
   std::set<unsigned int> ListPresent();
   // What was stopped of a network that is present.
   Parts ReadStopped(unsigned int index);
   // What isn't as Apply would make it.
   Report Look(Settings const& settings, unsigned int index);
   // Those that take effect when the network runs.
   std::set<services::WantedForward> ListForwards(Settings const& settings, unsigned int index);
   // Looks at the host again.
   void Refresh();
   HostView const& GetView() const { return host.view; }

private:
   Place place;
   Host host;
   Rules rules{host};
   Bridging bridging{host};
   DockerChain docker{host};
   FirewallZone zone;
   Obstacles obstacles{host.view};
   HostSwitches switches;
   Nameservers nameservers;
   std::optional<services::HostFacts> facts;
   unsigned long factsGeneration = 0;
   std::set<std::string> told;

   Network GetNetwork(unsigned int index);
   services::WantedNetwork PlanPresent(Settings const& settings, unsigned int index,
                                       Parts const& stopped);
   void TakeSubnet(Settings const& settings, services::WantedNetwork const& wanted,
                   std::set<unsigned int> const& yielding);
   std::vector<std::string> ListRemarks(services::WantedNetwork const& wanted);
   void Tell(std::vector<std::string> const& remarks);
   void TellObstacles(services::WantedNetwork const& wanted);
};

} // namespace vnet::engine
