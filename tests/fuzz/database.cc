// SPDX-License-Identifier: GPL-2.0-or-later
// The database's reader. A file that can be read says the same after it was written, and whatever
// it says, only what parsed reaches a configuration.
#include "fuzz/planCheck.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "fuzz/textForms.hh"
#include "lib/vnet/database/tempPlace.hh"
#include "vnet/database/decode.hh"
#include "vnet/values/error.hh"
#include "vnet/values/text.hh"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <vector>

using fuzz::Require;
using vnet::Database;
using vnet::Settings;

namespace {

std::optional<Database> Load(test::TempPlace const& place)
{
   try {
      return std::optional<Database>(std::in_place, place.Get());
   } catch (vnet::Error const&) {
      return std::nullopt;
   }
}

Settings Read(std::string const& text)
{
   return vnet::Decode(vnet::KeyFile::Parse(text)).settings;
}

void CheckNetwork(vnet::NetworkSettings const& network)
{
   auto const& forwards = network.nat.forwards;
   Require(vnet::IsPlainText(network.displayName, 127), "a display name is one line");
   Require(network.mtu.value_or(68) >= 68 && network.mtu.value_or(68) <= 9194, "an MTU is one");
   Require(!network.subnetMask || fuzz::IsMask(network.subnetMask->ToString()), "a mask is one");
   for (std::size_t at = 0; at < forwards.size(); ++at) {
      auto const& forward = forwards[at];
      Require(forward.hostPort != 0 && forward.vmPort != 0, "a forward has ports");
      Require(vnet::IsPlainText(forward.description, 128), "a description is one line");
      Require(at == 0 || vnet::IsBefore(forwards[at - 1], forward),
              "forwards are sorted, once each");
   }
}

void CheckSettings(Settings const& settings)
{
   for (auto const& [index, network] : settings.networks) {
      Require(index < vnet::maxNetworks, "a network's index is one");
      CheckNetwork(network);
   }
   for (auto const& [adapter, network] : settings.adapters) {
      Require(fuzz::IsDeviceName(adapter) && network < vnet::maxNetworks, "an adapter is one");
   }
}

// All but those with this key.
std::vector<std::string> LinesWithout(std::string const& text, std::string const& key)
{
   std::vector<std::string> lines;
   std::istringstream stream(text);
   for (std::string line; std::getline(stream, line);) {
      std::string start = line.substr(0, line.find('='));
      std::erase_if(start, [](char byte) { return byte > 0 && byte <= ' '; });
      if (start != key) {
         lines.push_back(line);
      }
   }
   return lines;
}

// Writes the file with another automatic network, and with the present one again.
void CheckSaving(test::TempPlace const& place, Settings const& settings, std::string const& text)
{
   unsigned int const other = settings.automatic == 3U ? 4 : 3;
   for (auto const network : {std::optional(other), settings.automatic}) {
      Database database(place.Get());
      database.SetAutomatic(network);
      database.Commit();
      Require(place.Read() == database.Export(), "the file is what was exported");
      Require(Database(place.Get()).GetSettings() == database.GetSettings(),
              "a file that was saved loads as equal");
   }
   Database const database(place.Get());
   Require(database.GetSettings() == settings, "a change that was undone leaves the settings");
   Require(LinesWithout(database.Export(), "automatic") == LinesWithout(text, "automatic"),
           "what nobody changed stays as it stands");
}

void CheckStep(Database const& database)
{
   Require(Read(database.Export()) == database.GetSettings(), "text and settings stay in step");
}

void ChangeNetwork(Database& database, unsigned int index)
{
   auto const forwards = database.GetNetwork(index).nat.forwards;
   database.Set(index, vnet::field::displayName, " \\new= ");
   database.Set(index, vnet::field::subnetMask, {});
   CheckStep(database);
   database.SetForward(index, {true, 80, {0x01020304}, 8080, "a"});
   CheckStep(database);
   for (auto const& forward : forwards) {
      database.RemoveForward(index, forward.tcp, forward.hostPort);
   }
   CheckStep(database);
   database.DeleteNetwork(index);
   Require(!database.GetSettings().networks.contains(index), "a deleted network is gone");
   CheckStep(database);
}

// The first ones: an input of many would take its time.
template <class Map>
std::vector<typename Map::value_type> GetSome(Map const& all)
{
   auto const count = std::min<std::size_t>(all.size(), 4);
   return {all.begin(), std::next(all.begin(), static_cast<std::ptrdiff_t>(count))};
}

void CheckChanges(Database database)
{
   for (auto const& [adapter, network] : GetSome(database.GetSettings().adapters)) {
      database.MoveAdapter(adapter, network == 1 ? std::nullopt : std::optional(1U));
      CheckStep(database);
   }
   for (auto const& [index, network] : GetSome(database.GetSettings().networks)) {
      ChangeNetwork(database, index);
   }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   static test::TempPlace const place;
   std::string const given(fuzz::ToText(data, size));
   place.Write(given);
   auto const loaded = Load(place);
   if (!loaded) {
      return 0;
   }
   Settings const settings = loaded->GetSettings();
   std::string const text = loaded->Export();
   CheckSettings(settings);
   Require(!loaded->HasChanges(), "reading changes nothing");
   Database(place.Get()).Commit();
   Require(place.Read() == given, "what has no changes isn't written");
   CheckStep(*loaded);
   CheckSaving(place, settings, text);
   fuzz::CheckPlans(settings);
   place.Write(given);
   CheckChanges(*Load(place));
   return 0;
}
