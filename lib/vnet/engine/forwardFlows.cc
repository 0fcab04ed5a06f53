// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/forwardFlows.hh"

#include "vnet/engine/host.hh"
#include "vnet/host/portHolder.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <set>

namespace vnet::engine {

namespace {

using Forwards = std::vector<services::WantedForward>;

std::set<Address> ListHostAddresses(HostView const& view)
{
   std::set<Address> addresses;
   for (auto const& [index, device] : view.GetDevices()) {
      for (auto const& each : device.addresses) {
         if (auto const address = each.address.ToAddress()) {
            addresses.insert(*address);
         }
      }
   }
   return addresses;
}

std::set<host::HostPort> GetPorts(Forwards const& forwards)
{
   std::set<host::HostPort> ports;
   for (auto const& forward : forwards) {
      ports.insert({forward.tcp, forward.hostPort});
   }
   return ports;
}

} // namespace

Forwards GetChanged(Forwards const& before, Forwards const& now)
{
   Forwards changed;
   std::ranges::set_symmetric_difference(before, now, std::back_inserter(changed));
   return changed;
}

void ForgetFlows(Host& host, Forwards const& forwards)
{
   if (!forwards.empty()) {
      host.flows.FlushForwards(GetPorts(forwards), ListHostAddresses(host.view));
   }
}

void ForgetUntranslated(Host& host, Forwards const& forwards)
{
   if (!forwards.empty()) {
      host.flows.FlushUntranslated(GetPorts(forwards), ListHostAddresses(host.view));
   }
}

Forwards ListShadowing(Forwards const& forwards)
{
   Forwards shadowing;
   for (auto const& forward : forwards) {
      try {
         if (!host::PortHolder::Hold(forward.tcp, forward.hostPort)) {
            shadowing.push_back(forward);
         }
      } catch (Error const&) {
         // As with a port that only a process with more rights may take.
      }
   }
   return shadowing;
}

} // namespace vnet::engine
