// SPDX-License-Identifier: GPL-2.0-or-later
// The commands of tavrin-vnets.
#pragma once

#include "vnet/cli/commandLine.hh"
#include "vnet/database/database.hh"
#include "vnet/engine/engine.hh"

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace vnet::cli {

class Program {
public:
   // `output` is for what was asked for, `errors` for what went wrong.
   Program(std::ostream& outputStream, std::ostream& errorStream);

   // Returns the exit status: 0, or 1 after a failure that it told. Throws Error for one that it
   // didn't.
   int Run(CommandLine const& line);

private:
   // The database as it stands, and the right to change the host.
   struct Session {
      LockFile lock;
      Settings settings;
   };
   using Step = std::function<void(engine::Engine&, Settings const&, unsigned int)>;
   using StepForAll = std::function<void(engine::Engine&, Settings const&)>;

   std::ostream& output;
   std::ostream& errors;
   engine::Place place;
   Database::Place databasePlace;

   int Init();
   int List();
   int Status(std::vector<unsigned int> const& networks);
   int Start(std::vector<unsigned int> const& networks);
   int Stop(std::vector<unsigned int> const& networks);
   int Restart(std::vector<unsigned int> const& networks);
   int Watch(std::string const& runFolder);

   Settings ReadSettings() const;
   Session OpenSession() const;
   Session OpenSessionForStop();
   void RequirePrivilege(std::string const& action);
   int ForEach(Settings const& settings, std::vector<unsigned int> const& networks,
               Step const& step, StepForAll const& forAll);
   bool Attempt(std::function<void()> const& work);
};

} // namespace vnet::cli
