// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/program.hh"

#include "base/productState.h"
#include "vnet/cli/help.hh"
#include "vnet/process/firewalld.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/hostUnits.hh"
#include "vnet/watch/watcherControl.hh"

namespace vnet::cli {

Program::Program(Output& where, base::FileDescriptor documentToApply)
   : output(where), documentFile(std::move(documentToApply))
{
   auto const folder = place.runFolder;
   place.units = watch::FindHostUnits(folder);
   place.zones = std::make_shared<process::Firewalld>();
   place.ensureWatcher = [units = place.units, folder] { watch::EnsureWatcher(units, folder); };
   place.stopWatcher = [units = place.units, folder] { watch::StopWatcher(units, folder); };
   databasePlace.file = place.databaseFolder + "/networking";
   databasePlace.lockFolder = folder;
}

int Program::Run(CommandLine const& line)
{
   switch (line.verb) {
   case Verb::Help:
      output.Tell(GetHelp());
      return status::fine;
   case Verb::Version:
      output.Tell(std::string("tavrin-vnets ") + ProductState_GetVersion() + "\n");
      return status::fine;
   case Verb::Log:
      return Log(line);
   case Verb::Init:
   case Verb::List:
   case Verb::Check:
   case Verb::Export:
   case Verb::Apply:
      return RunDatabaseCommand(line);
   default:
      return RunHostCommand(line);
   }
}

int Program::RunDatabaseCommand(CommandLine const& line)
{
   switch (line.verb) {
   case Verb::Init:
      return Init();
   case Verb::Check:
      return Check();
   case Verb::Export:
      return Export();
   case Verb::Apply:
      return Apply(line);
   default:
      return List();
   }
}

int Program::RunHostCommand(CommandLine const& line)
{
   switch (line.verb) {
   case Verb::Leases:
      return Leases(line.networks);
   case Verb::Doctor:
      return Doctor(line.networks);
   case Verb::Start:
      return Start(line.networks);
   case Verb::Stop:
      return Stop(line.networks);
   case Verb::Restart:
      return Restart(line.networks);
   case Verb::Watch:
      return Watch(line.runFolder);
   default:
      return Status(line.networks);
   }
}

// Who never made networks is told how to.
void Program::RequireDatabase() const
{
   if (GetStamp(databasePlace.file) == Stamp()) {
      throw Error("read", databasePlace.file,
                  "There is no such database; \"tavrin-vnets init\" makes one");
   }
}

Settings Program::ReadSettings() const
{
   RequireDatabase();
   return Database(databasePlace).GetSettings();
}

void Program::RequirePrivilege(std::string const& action)
{
   if (auto const lack = engine::Engine(place).FindLackOfPrivilege(); !lack.empty()) {
      throw Error(action, "networks", lack);
   }
}

bool Program::Attempt(std::function<void()> const& work)
{
   try {
      work();
      return true;
   } catch (Error const& error) {
      output.Complain(error.what());
      return false;
   }
}

// Of a command that has nothing to tell but how it went.
int Program::EndWith(bool done)
{
   output.TellEnd(done);
   return done ? status::fine : status::failure;
}

} // namespace vnet::cli
