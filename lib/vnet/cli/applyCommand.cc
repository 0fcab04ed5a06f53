// SPDX-License-Identifier: GPL-2.0-or-later
// A document made real.
#include "vnet/cli/documentFile.hh"
#include "vnet/cli/hostDifferences.hh"
#include "vnet/cli/program.hh"
#include "vnet/document/document.hh"
#include "vnet/document/judge.hh"
#include "vnet/document/store.hh"
#include "vnet/values/error.hh"

namespace vnet::cli {

namespace {

constexpr char emptyDatabase[] = "# The virtual networks of this host.\n[general]\nversion=1\n";

json::Value MakeChanges(std::vector<document::Change> const& changes)
{
   auto const orNull = [](std::optional<std::string> const& text) {
      return text ? json::Value(*text) : json::Value();
   };
   auto list = json::Value::MakeList();
   for (auto const& change : changes) {
      auto object = json::Value::MakeObject();
      object.Add("object", change.object);
      object.Add("key", change.key.empty() ? json::Value() : json::Value(change.key));
      object.Add("before", orNull(change.before));
      list.Add(std::move(object.Add("after", orNull(change.after))));
   }
   return list;
}

} // namespace

int Program::Apply(CommandLine const& line)
{
   if (!line.dryRun) {
      RequirePrivilege("apply");
   }
   Settings wanted;
   if (!ReadWanted(line.file, wanted)) {
      return EndWith(false);
   }
   return line.dryRun ? Preview(wanted) : Carry(wanted);
}

// All that is wrong with it is told before anything is done.
bool Program::ReadWanted(std::string const& file, Settings& wanted)
{
   auto const reading = document::ReadText(ReadDocument(documentFile.Get(), file));
   auto const judgement = document::Judge(reading.settings);
   // Of what wasn't read as it was meant there is no judging.
   auto const& problems = reading.complaints.empty() ? judgement.problems : reading.complaints;
   for (auto const& problem : problems) {
      output.Complain("read " + file + ": " + problem);
   }
   wanted = reading.settings;
   return problems.empty();
}

// A database that isn't there holds nothing.
Settings Program::ReadPresent() const
{
   return GetStamp(databasePlace.file) == Stamp() ? Settings() : ReadSettings();
}

std::vector<std::string> Program::CompareHost(Settings const& settings)
{
   engine::Engine engine(place);
   if (!engine.HasPrivilege()) {
      output.Complain("What differs on the host itself only root can see");
      return {};
   }
   return FindHostDifferences(engine, place, settings);
}

int Program::Preview(Settings const& wanted)
{
   auto const changes = document::FindChanges(ReadPresent(), wanted);
   auto const host = CompareHost(wanted);
   TellChanges(changes, host, true);
   return changes.empty() && host.empty() ? status::fine : status::found;
}

// The host follows what is in the database, so that comes first, and both under one lock.
int Program::Carry(Settings const& wanted)
{
   if (GetStamp(databasePlace.file) == Stamp()) {
      Database::Create(databasePlace, emptyDatabase);
   }
   Database database(databasePlace);
   database.Lock();
   auto const before = database.GetSettings();
   auto const changes = Commit(wanted, database);
   auto const host = CompareHost(wanted);
   bool const done = Follow(before, wanted);
   TellChanges(changes, host, false);
   return done ? status::fine : status::failure;
}

std::vector<document::Change> Program::Commit(Settings const& wanted, Database& database)
{
   auto changes = document::FindChanges(database.GetSettings(), wanted);
   if (!changes.empty()) {
      document::Store(database, wanted);
      database.Commit();
   }
   return changes;
}

bool Program::Follow(Settings const& before, Settings const& wanted)
{
   engine::Engine engine(place);
   bool done = true;
   for (auto const& entry : before.networks) {
      if (!wanted.networks.contains(entry.first)) {
         done &= Attempt([&] { engine.RemoveNetwork(wanted, entry.first); });
      }
   }
   return Attempt([&] { engine.StartAll(wanted); }) && done;
}

void Program::TellChanges(std::vector<document::Change> const& changes,
                          std::vector<std::string> const& host, bool dryRun)
{
   if (output.json) {
      output.TellJson(json::Value::MakeObject()
                         .Add("dry-run", dryRun)
                         .Add("changed", !changes.empty() || !host.empty())
                         .Add("database", MakeChanges(changes))
                         .Add("host", json::Value::MakeList(host))
                         .Add("failures", json::Value::MakeList(output.GetComplaints())));
      return;
   }
   for (auto const& change : changes) {
      output.Tell(ToString(change) + "\n");
   }
   for (auto const& difference : host) {
      output.Tell((dryRun ? "host differs: " : "host differed: ") + difference + "\n");
   }
   if (changes.empty() && host.empty()) {
      output.Tell(dryRun ? "Nothing would change.\n" : "Nothing changed.\n");
   }
}

} // namespace vnet::cli
