// SPDX-License-Identifier: GPL-2.0-or-later
// The commands of tavrin-vnets.
#pragma once

#include "base/fileDescriptor.hh"
#include "vnet/cli/commandLine.hh"
#include "vnet/cli/output.hh"
#include "vnet/database/database.hh"
#include "vnet/doctor/doctor.hh"
#include "vnet/document/changes.hh"
#include "vnet/engine/engine.hh"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace vnet::cli {

// Exit statuses, with 2 for a command line that isn't one.
namespace status {
inline constexpr int fine = 0;
inline constexpr int failure = 1;
inline constexpr int usage = 2;
inline constexpr int found = 3; // something that was looked for
} // namespace status

class Program {
public:
   // The document is that of Apply, open.
   explicit Program(Output& where, base::FileDescriptor documentToApply = {});

   // Returns the exit status; what failed is told then. Throws Error for a failure that isn't told.
   int Run(CommandLine const& line);

private:
   // The database as it stands, and the right to change the host.
   struct Session {
      LockFile lock;
      Settings settings;
   };
   using Step = std::function<void(engine::Engine&, Settings const&, unsigned int)>;
   using StepForAll = std::function<void(engine::Engine&, Settings const&)>;

   Output& output;
   base::FileDescriptor const documentFile;
   engine::Place place;
   Database::Place databasePlace;

   int Init();
   int List();
   int Check();
   int Export();
   int Status(std::vector<unsigned int> const& networks);
   int Leases(std::vector<unsigned int> const& networks);
   int Log(CommandLine const& line);
   int Doctor(std::vector<unsigned int> const& networks);
   int Start(std::vector<unsigned int> const& networks);
   int Stop(std::vector<unsigned int> const& networks);
   int Restart(std::vector<unsigned int> const& networks);
   int Apply(CommandLine const& line);
   int Watch(std::string const& runFolder);

   int RunDatabaseCommand(CommandLine const& line);
   int RunHostCommand(CommandLine const& line);

   void RequireDatabase() const;
   Settings ReadSettings() const;
   Session OpenSession() const;
   Session OpenSessionForStop();
   void RequirePrivilege(std::string const& action);
   int ForEach(Settings const& settings, std::vector<unsigned int> const& networks,
               Step const& step, StepForAll const& forAll);
   bool Attempt(std::function<void()> const& work);
   int EndWith(bool done);

   doctor::Examination Examine(std::set<unsigned int> const& named);

   // Of Apply.
   bool ReadWanted(std::string const& file, Settings& wanted);
   Settings ReadPresent() const;
   std::vector<std::string> CompareHost(Settings const& settings);
   void TellChanges(std::vector<document::Change> const& changes,
                    std::vector<std::string> const& host, bool dryRun);
   int Preview(Settings const& wanted);
   int Carry(Settings const& wanted);
   std::vector<document::Change> Commit(Settings const& wanted, Database& database);
   bool Follow(Settings const& before, Settings const& wanted);
};

} // namespace vnet::cli
