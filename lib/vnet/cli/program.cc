// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/program.hh"

#include "base/log.h"
#include "base/productState.h"
#include "vnet/cli/describe.hh"
#include "vnet/cli/status.hh"
#include "vnet/database/defaultDatabase.hh"
#include "vnet/values/error.hh"
#include "vnet/values/freeSubnet.hh"
#include "vnet/watch/watcher.hh"
#include "vnet/watch/watcherControl.hh"

#include <sys/stat.h>

namespace vnet::cli {

namespace {

constexpr unsigned int hostOnlyIndex = 1;
constexpr unsigned int natIndex = 8;

void RefuseExisting(std::string const& path)
{
   struct stat status;
   if (lstat(path.c_str(), &status) == 0) {
      throw Error("create", path, "It is there already, and stays as it is");
   }
}

Subnet FindSubnet(engine::Engine& engine, unsigned int index, std::optional<Subnet> other)
{
   auto occupied = engine.ListOccupied(index);
   if (other) {
      occupied.push_back(*other);
   }
   auto const subnet = FindFreeSubnet(occupied, {});
   if (!subnet) {
      throw Error("find a subnet for", GetNetworkName(index), "No private subnet is free");
   }
   return *subnet;
}

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
   Log("The watcher starts\n");
   switch (watcher.Run()) {
   case watch::Watcher::Ending::Asked:
      Log("The watcher ends, as it was asked to\n");
      return 0;
   case watch::Watcher::Ending::Unneeded:
      Log("The watcher ends with the last network\n");
      return 0;
   case watch::Watcher::Ending::Another:
      break;
   }
   throw Error("watch", "the networks", "Another watcher does already");
}

} // namespace

Program::Program(std::ostream& outputStream, std::ostream& errorStream)
   : output(outputStream), errors(errorStream)
{
   auto const folder = place.runFolder;
   place.ensureWatcher = [folder] { watch::EnsureWatcher(folder); };
   place.stopWatcher = [folder] { watch::StopWatcher(folder); };
   databasePlace.file = place.databaseFolder + "/networking";
   databasePlace.lockFolder = folder;
}

int Program::Run(CommandLine const& line)
{
   switch (line.verb) {
   case Verb::Help:
      output << GetHelp();
      return 0;
   case Verb::Version:
      output << "tavrin-vnets " << ProductState_GetVersion() << '\n';
      return 0;
   case Verb::Init:
      return Init();
   case Verb::List:
      return List();
   case Verb::Status:
      return Status(line.networks);
   case Verb::Start:
      return Start(line.networks);
   case Verb::Stop:
      return Stop(line.networks);
   case Verb::Restart:
      return Restart(line.networks);
   case Verb::Watch:
      return Watch(line.runFolder);
   }
   return 1;
}

int Program::Init()
{
   RefuseExisting(databasePlace.file);
   engine::Engine engine(place);
   auto const hostOnly = FindSubnet(engine, hostOnlyIndex, {});
   auto const nat = FindSubnet(engine, natIndex, hostOnly);
   auto const text = MakeDefaultDatabase(hostOnly, nat, engine.ListAdapters());
   Database::Create(databasePlace, text);
   return List();
}

int Program::List()
{
   output << DescribeList(ReadSettings());
   return 0;
}

int Program::Status(std::vector<unsigned int> const& networks)
{
   return TellStatus(output, errors, place, ReadSettings(), networks) ? 0 : 1;
}

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
   if (!runFolder.empty()) {
      watched.runFolder = runFolder;
   }
   try {
      return RunWatcher(watched);
   } catch (Error const& error) {
      LogV(LOG_SEVERITY_ERROR, "%s\n", error.what());
      throw;
   }
}

Settings Program::ReadSettings() const
{
   return Database(databasePlace).GetSettings();
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
      errors << "tavrin-vnets: " << error.what() << "; stopping what runs\n";
   }
   return session;
}

void Program::RequirePrivilege(std::string const& action)
{
   if (auto const lack = engine::Engine(place).FindLackOfPrivilege(); !lack.empty()) {
      throw Error(action, "networks", lack);
   }
}

int Program::ForEach(Settings const& settings, std::vector<unsigned int> const& networks,
                     Step const& step, StepForAll const& forAll)
{
   engine::Engine engine(place);
   if (networks.empty()) {
      return Attempt([&] { forAll(engine, settings); }) ? 0 : 1;
   }
   bool done = true;
   for (unsigned int const index : networks) {
      done &= Attempt([&] { step(engine, settings, index); });
   }
   return done ? 0 : 1;
}

bool Program::Attempt(std::function<void()> const& work)
{
   try {
      work();
      return true;
   } catch (Error const& error) {
      errors << "tavrin-vnets: " << error.what() << '\n';
      return false;
   }
}

} // namespace vnet::cli
