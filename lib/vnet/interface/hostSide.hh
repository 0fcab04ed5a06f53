// SPDX-License-Identifier: GPL-2.0-or-later
// What the C interface asks of the running host.
#pragma once

#include "vnet/values/settings.hh"

#include <memory>
#include <string>
#include <vector>

namespace vnet {

enum class Service { Bridge, Dhcp, Nat };

// Every operation throws Error when it fails, with what it couldn't do left to the next comparison.
// The networks are named by index; settings are the database's as they stand in memory. All
// operations but HasPrivilege, ListAdapters and ListOccupied are called with the database's lock
// held, so that two processes never change the host at the same time; a Finish that has nothing to
// do may lack it.
class HostSide {
public:
   virtual ~HostSide() = default;

   // Whether this process may change the host's networks.
   virtual bool HasPrivilege() = 0;
   // The device names of the host adapters that a network can be bridged to.
   virtual std::vector<std::string> ListAdapters() = 0;
   // Every address of the host and every route of any routing table, but for default routes and
   // for what this library itself put on the host for network `own`.
   virtual std::vector<Subnet> ListOccupied(unsigned int own) = 0;

   // Turns the host's adapter on the network on, touching only what differs.
   virtual void EnableAdapter(Settings const& settings, unsigned int index) = 0;
   // Marks it to be turned off.
   virtual void DisableAdapter(Settings const& settings, unsigned int index) = 0;
   // Make the wanted configuration of a service anew.
   virtual void UpdateDhcp(Settings const& settings, unsigned int index) = 0;
   virtual void UpdateNat(Settings const& settings, unsigned int index) = 0;
   // Starts a service, touching only what differs from what runs.
   virtual void StartService(Settings const& settings, unsigned int index, Service service) = 0;
   // Marks a service to be stopped.
   virtual void StopService(Settings const& settings, unsigned int index, Service service) = 0;
   // Stops all of the network at once and removes all that is ours of it. settings no longer hold
   // it, and perhaps never did.
   virtual void RemoveNetwork(Settings const& settings, unsigned int index) = 0;
   // The end of one load. Carries the remaining marks out and, if the database was changed or
   // anything was marked or started, compares every network once more with what settings want;
   // then forgets marks and memory. Does nothing if neither was.
   virtual void Finish(Settings const& settings, bool changed) = 0;
};

// The host that this process runs on.
std::unique_ptr<HostSide> MakeHostSide();

} // namespace vnet
