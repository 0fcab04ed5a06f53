// SPDX-License-Identifier: GPL-2.0-or-later
// Makes the networks of the database real on this host.
#pragma once

#include "vnet/engine/parts.hh"
#include "vnet/engine/place.hh"
#include "vnet/engine/report.hh"
#include "vnet/interface/hostSide.hh"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnet::engine {

class Networks;

// Each start is a comparison of what is wanted with what runs: what is equal stays untouched, and
// of the rest only the difference is applied, in place. Each stop but Stop and RemoveNetwork is a
// promise that Finish keeps, unless a start comes before it. A process may die at any moment; the
// next comparison finds what it left.
//
// Belongs to the network namespace of the thread that made it, one thread at a time. All that
// changes the host, and nothing else, is to be called with the database's lock held. Making an
// Engine touches nothing.
class Engine : public HostSide {
public:
   explicit Engine(Place where = {});
   ~Engine() override;

   bool HasPrivilege() override;
   // What this process may not do of what changing the host takes; empty if it may do all.
   std::string FindLackOfPrivilege();
   std::vector<std::string> ListAdapters() override;
   std::vector<Subnet> ListOccupied(unsigned int own) override;

   // --- One load of the C interface: marks and comparisons, ended by Finish ---

   void EnableAdapter(Settings const& settings, unsigned int index) override;
   void DisableAdapter(Settings const& settings, unsigned int index) override;
   void UpdateDhcp(Settings const& settings, unsigned int index) override;
   void UpdateNat(Settings const& settings, unsigned int index) override;
   void StartService(Settings const& settings, unsigned int index, Service service) override;
   void StopService(Settings const& settings, unsigned int index, Service service) override;
   void RemoveNetwork(Settings const& settings, unsigned int index) override;
   void Finish(Settings const& settings, bool changed) override;

   // --- Without marks: boot, the command line and the watcher ---

   // Makes every network what settings want, also those that were stopped, and stops those that
   // settings don't hold. Ensures the watcher if any runs, and ends it if none does. Carries on
   // after a failure; throws Error with all of them.
   void StartAll(Settings const& settings);
   // The same for one network; the others stay as they are.
   void Start(Settings const& settings, unsigned int index);
   // Stops a network now. Its bridge stays as long as anything else is plugged in, with rules that
   // let nothing pass between it and the host. It stays stopped until it is started, or until a
   // Finish compares all. Throws Error with all that went wrong.
   void Stop(Settings const& settings, unsigned int index);
   void StopAll(Settings const& settings);
   // Compares what runs with what settings want, and puts right what differs: for the watcher, when
   // links, addresses, routes or rules changed. What is stopped stays stopped, but for the bridge
   // of a stopped network, which goes when the last plug is pulled. Neither ensures nor ends the
   // watcher. Carries on after a failure; throws Error with all of them.
   void Reconcile(Settings const& settings);
   void Reconcile(Settings const& settings, unsigned int index);

   // --- Looking ---

   // What a network has on the host. Changes nothing and needs no lock.
   Report Look(Settings const& settings, unsigned int index);
   // The networks that have anything on the host: running, stopped with a bridge left, or left by a
   // process that died.
   std::set<unsigned int> ListPresent();
   // The forwards of the networks that run, of all of them: the ports to hold on this host.
   std::set<services::WantedForward> ListForwards(Settings const& settings);

private:
   Place const place;
   std::unique_ptr<Networks> networks; // as long as a load or an object of the watcher's needs them
   std::map<unsigned int, Parts> marks;
   bool touched = false;

   Networks& GetNetworks();
   std::set<unsigned int> ListAll(Settings const& settings);
   void StartPart(Settings const& settings, unsigned int index, Part part);
   void Mark(unsigned int index, Part part);
   std::set<unsigned int> ListMarked() const;
   std::map<unsigned int, Parts> TakeMarks(Settings const& settings);
   void CompareAll(Settings const& settings, std::map<unsigned int, Parts> const& stopped);
   void ReconcilePresent(Settings const& settings, unsigned int index);
   void UpdateWatcher();
   void Forget();
};

} // namespace vnet::engine
