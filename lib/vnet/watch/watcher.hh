// SPDX-License-Identifier: GPL-2.0-or-later
// The resident watcher: keeps the networks as they should be while the host changes around them.
#pragma once

#include "vnet/database/database.hh"
#include "vnet/engine/engine.hh"
#include "vnet/host/events.hh"
#include "vnet/host/netlink.hh"
#include "vnet/process/runningProcess.hh"
#include "vnet/watch/changeFilter.hh"
#include "vnet/watch/fileWatch.hh"
#include "vnet/watch/flowKeeper.hh"
#include "vnet/watch/lanTeller.hh"
#include "vnet/watch/lockTaker.hh"
#include "vnet/watch/pace.hh"
#include "vnet/watch/portKeeper.hh"
#include "vnet/watch/signals.hh"
#include "vnet/watch/watcherRecord.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::watch {

// Sleeps until the kernel tells of a change or a signal comes; a timer runs only while an answer to
// one of them is pending. Answers with the database's lock held, so never in the middle of a save,
// and to the database as it is then.
//
// It moves the automatic network to another adapter as carriers, devices and routes come and go,
// tells the LAN where the guests are, puts back rules that another tool flushed, and holds the
// ports that are forwarded. A process runs one for its whole life.
class Watcher {
public:
   // Throws Error.
   explicit Watcher(engine::Place const& place);

   enum class Ending {
      Asked,    // by a signal
      Unneeded, // no network is left
      Another   // there is one already
   };
   Ending Run();

private:
   Database::Place const databasePlace;
   WatcherRecord const record;
   process::Identity const self;
   // In this order: whoever ends us, or changes anything while we look for the first time, is
   // heard.
   Signals signals;
   host::Events events;
   FileWatch resolver; // whom the host asks for names, which our servers ask too

   LockTaker lockTaker;
   host::RouteSocket socket;
   engine::Engine engine;
   std::optional<Database> database;
   PortKeeper ports;
   FlowKeeper flows;
   LanTeller lans;

   ChangeFilter filter;
   Findings findings;
   Pace hostPace;
   Pace rulesPace;
   unsigned int failures = 0; // of answers, one after the other
   bool claimed = false;      // the record names us
   bool fighting = false;     // somebody changes our rules again and again

   std::optional<Clock::time_point> GetAnswerDue() const;
   void Wait();
   std::optional<Ending> Step();
   void ReadEvents();
   void Learn();
   std::optional<Ending> Answer();
   // Keeps the flows of the networks that there are. False if none is left.
   bool FollowNetworks();
   std::set<unsigned int> LeaveOutBridged(std::set<unsigned int> networks) const;
   bool Claim();
   template <class Work>
   void Attempt(Work work);
   Settings const& ReadSettings();
   void Compare();
   Findings TakeFindings(bool all);
   void CompareNetworks(Settings const& settings, std::set<unsigned int> const& networks);
   void TellOfRules(Findings const& found);
};

} // namespace vnet::watch
