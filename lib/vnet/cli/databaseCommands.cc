// SPDX-License-Identifier: GPL-2.0-or-later
// What tavrin-vnets does with the database alone.
#include "vnet/cli/describe.hh"
#include "vnet/cli/objects.hh"
#include "vnet/cli/program.hh"
#include "vnet/database/decode.hh"
#include "vnet/database/defaultDatabase.hh"
#include "vnet/document/document.hh"
#include "vnet/document/judge.hh"
#include "vnet/values/error.hh"
#include "vnet/values/freeSubnet.hh"

#include <stdexcept>
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

// What the text of a database says, and what is wrong with it.
struct Checked {
   std::vector<std::string> problems;
   std::vector<std::string> notes;
};

Checked CheckText(std::string const& text)
{
   Checked checked;
   try {
      auto const decoded = Decode(KeyFile::Parse(text));
      auto const judgement = document::Judge(decoded.settings);
      checked.problems = decoded.complaints;
      checked.problems.insert(checked.problems.end(), judgement.problems.begin(),
                              judgement.problems.end());
      checked.notes = judgement.notes;
      for (auto const& unknown : decoded.unknown) {
         checked.notes.push_back(unknown + ": It means nothing here");
      }
   } catch (std::runtime_error const& error) {
      checked.problems.push_back(error.what());
   }
   return checked;
}

std::string DescribeChecked(std::string const& file, Checked const& checked, Paint const& paint)
{
   std::string text;
   for (auto const& problem : checked.problems) {
      text += paint.Bad("problem: ") + problem + "\n";
   }
   for (auto const& note : checked.notes) {
      text += "note: " + note + "\n";
   }
   return text.empty() ? paint.Good(file + " is fine.") + "\n" : text;
}

} // namespace

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
   auto const settings = ReadSettings();
   if (output.json) {
      output.TellJson(MakeListObject(settings));
   } else {
      output.Tell(DescribeList(settings, output.paint));
   }
   return status::fine;
}

int Program::Check()
{
   RequireDatabase();
   auto const checked = CheckText(ReadTextFile(databasePlace.file, maxDatabaseBytes).text);
   if (output.json) {
      output.TellJson(json::Value::MakeObject()
                         .Add("problems", json::Value::MakeList(checked.problems))
                         .Add("notes", json::Value::MakeList(checked.notes)));
   } else {
      output.Tell(DescribeChecked(databasePlace.file, checked, output.paint));
   }
   return checked.problems.empty() ? status::fine : status::found;
}

int Program::Export()
{
   output.TellJson(document::Make(ReadSettings()));
   return status::fine;
}

} // namespace vnet::cli
