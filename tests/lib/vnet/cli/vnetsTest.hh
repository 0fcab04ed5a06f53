// SPDX-License-Identifier: GPL-2.0-or-later
// A host on which the real tavrin-vnets runs.
#pragma once

#include "support/netlab/lab.hh"
#include "support/testProcess.hh"

#include <set>
#include <string>
#include <vector>

namespace vnet::cli {

struct Outcome {
   int status = -1;    // exit status; -1 if it didn't exit in time, or not by itself
   std::string output; // both streams, in the order written
};

// The host has eth0 and eth1 on one LAN and eth2 on another. All three count as adapters. eth0 is
// 10.3.0.1/24 and has the default route; it and eth1 lead to `station`, 10.3.0.9; eth2 leads to
// `stranger`, 10.3.0.8 on its own LAN.
class VnetsTest : public netlab::LabTest {
protected:
   void SetUp() override;
   // Stops all networks and expects that nothing of them is left.
   void TearDown() override;

   // Plugs a guest's eth0 into a bridge, by a device of the host. TearDown unplugs what is left.
   void Plug(netlab::Namespace const& guest, std::string const& port, std::string const& bridge);
   void Unplug(std::string const& port);

   static std::string GetProgram();
   // Runs it with the arguments and waits for its end.
   static Outcome Run(std::vector<std::string> const& arguments);
   // The same, expecting success. Returns what it printed.
   static std::string RunWell(std::vector<std::string> const& arguments);

   // As root without any of root's rights.
   static Outcome RunWithoutRights(std::vector<std::string> const& arguments);

   // Replaces the database by a version and these lines.
   static void WriteDatabase(std::string const& lines);
   static std::string ReadDatabase();
   // Networks 1, host-only, and 8, with NAT, in 192.168.<index>.0/24.
   static std::string GetHosted();
   // Network 0 bridged automatically by these adapters.
   static std::string GetAutomatic(std::vector<std::string> const& adapters);

   bool HasLink(std::string const& name);
   std::string ListTables();
   bool HasTable(std::string const& table);
   // The adapters that are joined to a bridge.
   std::string GetJoined();

   // The watcher's process number, or 0. More than one is a failure.
   static int GetWatcher();
   // Kills it and waits for its end. Without one it is a failure.
   static void KillWatcher();
   // Pids of all watchers of this host.
   static std::vector<int> ListWatchers();
   static std::vector<int> ListDnsmasqs();

   netlab::Lan lan;
   netlab::Lan otherLan;
   std::string wire0; // the ports of the switches in which the adapters are plugged
   std::string wire1;
   std::string wire2;
   netlab::Namespace station;
   netlab::Namespace stranger;

private:
   std::set<std::string> ports;
};

} // namespace vnet::cli
