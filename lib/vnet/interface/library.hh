// SPDX-License-Identifier: GPL-2.0-or-later
// What stands behind the C interface: the database in memory, and the host.
#pragma once

#include "vnet/database/database.hh"
#include "vnet/interface/hostSide.hh"

#include <memory>
#include <optional>
#include <set>

namespace vnet {

// Every operation throws std::exception when it fails. With nothing loaded all fail but Load and
// Unload.
class Library {
public:
   Library(Database::Place where, std::unique_ptr<HostSide> hostSide);

   // The one that the C interface works on: at first one of this host.
   static Library& Get();
   // Puts another in its place; null: one of this host again.
   static void Replace(std::unique_ptr<Library> other);

   Database::Place const& GetPlace() const { return place; }
   HostSide& GetHost() { return *host; }

   // Reads the database. When it is loaded already, what was changed since stands, and else the
   // file is read again if it is another one now.
   void Load();
   // Commits, brings the host in line, and forgets what was loaded. Does nothing if nothing is. A
   // database that can't be written is logged, and the host follows what stands in memory all the
   // same: it was asked to already.
   void Unload();

   // The database, with what somebody else wrote before the first change.
   Database& GetForReading();
   // The database with its lock.
   Database& GetForWriting();

   void SetSubnetAddress(unsigned int index, std::optional<Address> address);
   // Gives the network a free subnet, or leaves it the one that it has if that is free.
   void AssignSubnet(unsigned int index);
   // Whether AssignSubnet was asked for the present subnet since the load. One that it failed to
   // give then is given at the end.
   bool IsAssigned(unsigned int index) const { return assigned.count(index) != 0; }
   // The host's adapters, as they were when they could last be listed since the load.
   std::vector<std::string> const& GetAdapters() const { return adapters; }
   void RefreshAdapters() { adapters = host->ListAdapters(); }
   // The database as text.
   std::string Export();
   void DeleteNetwork(unsigned int index);

private:
   Database& GetLoaded();
   std::optional<Subnet> FindSubnet(unsigned int index);
   void Assign(unsigned int index);
   // Networks that still lack their subnet get it. One whose subnet is set after another was
   // assigned may want just that one; the assigned one gives way.
   void SettleAssigned();

   Database::Place const place;
   std::unique_ptr<HostSide> const host;
   std::optional<Database> database;
   std::set<unsigned int> assigned;
   std::vector<std::string> adapters;
};

} // namespace vnet
