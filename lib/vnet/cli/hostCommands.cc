// SPDX-License-Identifier: GPL-2.0-or-later
// What tavrin-vnets does with the host.
#include "base/log.h"
#include "vnet/cli/networkFacts.hh"
#include "vnet/cli/program.hh"
#include "vnet/values/error.hh"
#include "vnet/watch/watcher.hh"

namespace vnet::cli {

namespace {

// A network that the database doesn't hold can't be started.
void RequireKnown(Settings const& settings, unsigned int index)
{
   if (!GetNetworks(settings).contains(index)) {
      throw Error("start", GetNetworkName(index), "The database doesn't hold it");
   }
}

void RequireAny(engine::Engine& engine, Settings const& settings, unsigned int index)
{
   if (!GetNetworks(settings).contains(index) && !engine.ListPresent().contains(index)) {
      throw Error("stop", GetNetworkName(index), "Neither the database nor this host has it");
   }
}

int RunWatcher(engine::Place const& place)
{
   watch::Watcher watcher(place);
   ::Log("The watcher starts\n");
   switch (watcher.Run()) {
   case watch::Watcher::Ending::Asked:
      ::Log("The watcher ends, as it was asked to\n");
      return status::fine;
   case watch::Watcher::Ending::Unneeded:
      ::Log("The watcher ends with the last network\n");
      return status::fine;
   case watch::Watcher::Ending::Another:
      break;
   }
   throw Error("watch", "the networks", "Another watcher does already");
}

} // namespace

int Program::Start(std::vector<unsigned int> const& networks)
{
   RequirePrivilege("start");
   auto const session = OpenSession();
   return ForEach(
      session.settings, networks,
      [](engine::Engine& engine, Settings const& settings, unsigned int index) {
         RequireKnown(settings, index);
         engine.Start(settings, index);
      },
      [](engine::Engine& engine, Settings const& settings) { engine.StartAll(settings); });
}

int Program::Stop(std::vector<unsigned int> const& networks)
{
   RequirePrivilege("stop");
   auto const session = OpenSessionForStop();
   return ForEach(
      session.settings, networks,
      [](engine::Engine& engine, Settings const& settings, unsigned int index) {
         RequireAny(engine, settings, index);
         engine.Stop(settings, index);
      },
      [](engine::Engine& engine, Settings const& settings) { engine.StopAll(settings); });
}

// What could be stopped is started also if something else couldn't.
int Program::Restart(std::vector<unsigned int> const& networks)
{
   RequirePrivilege("restart");
   auto const session = OpenSession();
   return ForEach(
      session.settings, networks,
      [this](engine::Engine& engine, Settings const& settings, unsigned int index) {
         RequireKnown(settings, index);
         Attempt([&] { engine.Stop(settings, index); });
         engine.Start(settings, index);
      },
      [this](engine::Engine& engine, Settings const& settings) {
         Attempt([&] { engine.StopAll(settings); });
         engine.StartAll(settings);
      });
}

// Nobody reads what a watcher prints, so its log has to tell.
int Program::Watch(std::string const& runFolder)
{
   RequirePrivilege("watch");
   auto watched = place;
   if (!runFolder.empty() && runFolder != place.runFolder) {
      watched.runFolder = runFolder;
      watched.units = nullptr;
   }
   try {
      return RunWatcher(watched);
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_ERROR, "%s\n", error.what());
      throw;
   }
}

// The lock first: what is read then stands until it is given back.
Program::Session Program::OpenSession() const
{
   auto lock = LockFile::Take(databasePlace.lockFolder, databasePlace.patience);
   RemoveUnfinished(databasePlace.file);
   return {std::move(lock), ReadSettings()};
}

// Without a database that can be read, nothing is wanted; what runs can be stopped all the same.
Program::Session Program::OpenSessionForStop()
{
   Session session{LockFile::Take(databasePlace.lockFolder, databasePlace.patience), {}};
   try {
      session.settings = ReadSettings();
   } catch (Error const& error) {
      output.Complain(std::string(error.what()) + "; stopping what runs");
   }
   return session;
}

int Program::ForEach(Settings const& settings, std::vector<unsigned int> const& networks,
                     Step const& step, StepForAll const& forAll)
{
   engine::Engine engine(place);
   if (networks.empty()) {
      return EndWith(Attempt([&] { forAll(engine, settings); }));
   }
   bool done = true;
   for (unsigned int const index : networks) {
      done &= Attempt([&] { step(engine, settings, index); });
   }
   return EndWith(done);
}

} // namespace vnet::cli
