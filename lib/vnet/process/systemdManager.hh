// SPDX-License-Identifier: GPL-2.0-or-later
// One connection to systemd.
#pragma once

#include "vnet/process/systemBus.hh"

#include <map>

namespace vnet::process {

// Every function throws Refusal. Belongs to one thread.
class SystemdManager {
public:
   // By the bus of this address. `patience` is for each answer.
   SystemdManager(std::string const& address, std::chrono::milliseconds patience);

   // Carries out a job of the kind ("StartUnit", "StopUnit"), and returns how it ended: "done",
   // "failed", "timeout", ...
   std::string RunJob(char const* kind, std::string const& unit);
   // Forgets that it failed and how often it was started.
   void Reset(std::string const& unit);
   // A property of the unit, which is a text.
   std::string GetText(std::string const& unit, char const* interface, char const* property);

   static bool IsNoSuchUnit(Refusal const& refusal);

private:
   std::string owner;                        // of the manager's name: what the bus calls it
   std::map<std::string, std::string> ended; // jobs, and how
   SystemBus bus;                            // the last, as what it hears changes the others

   void FindOwner();
   std::string WaitForJob(std::string const& job);
   // Takes in what comes until that is so; else a Refusal.
   template <class Condition>
   void WaitUntil(Condition const& condition);
   SystemBus::Value CallManager(char const* method, GVariant* parameters, char const* answerType);
   static void OnOwnerChanged(GDBusConnection*, char const*, char const*, char const*, char const*,
                              GVariant* parameters, void* self);
   static void OnJobRemoved(GDBusConnection*, char const*, char const*, char const*, char const*,
                            GVariant* parameters, void* self);
};

} // namespace vnet::process
