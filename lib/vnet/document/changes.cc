// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/changes.hh"

#include "vnet/database/fields.hh"
#include "vnet/database/groups.hh"

#include <set>

namespace vnet::document {

namespace {

using Changes = std::vector<Change>;
using Text = std::optional<std::string>;

// What a network has more than none at all.
constexpr char present[] = "there";

template <class Map>
std::set<typename Map::key_type> JoinKeys(Map const& one, Map const& other)
{
   std::set<typename Map::key_type> keys;
   for (auto const* map : {&one, &other}) {
      for (auto const& entry : *map) {
         keys.insert(entry.first);
      }
   }
   return keys;
}

template <class Map>
typename Map::mapped_type const* Find(Map const& map, typename Map::key_type const& key)
{
   auto const found = map.find(key);
   return found == map.end() ? nullptr : &found->second;
}

void AddIfDifferent(Changes& changes, std::string const& object, std::string const& key,
                    Text const& before, Text const& after)
{
   if (before != after) {
      changes.push_back({object, key, before, after});
   }
}

std::string Describe(PortForward const& forward)
{
   return forward.address.ToString() + ":" + std::to_string(forward.vmPort) +
          (forward.description.empty() ? "" : " (" + forward.description + ")");
}

std::map<std::string, std::string> ListForwards(unsigned int index, NetworkSettings const& network)
{
   std::map<std::string, std::string> forwards;
   for (auto const& forward : network.nat.forwards) {
      forwards[GetForwardGroup({index, forward.tcp, forward.hostPort})] = Describe(forward);
   }
   return forwards;
}

template <class Map>
void CompareTexts(Changes& changes, std::string const& prefix, Map const& before, Map const& after)
{
   auto const get = [](auto const* found) { return found ? Text(*found) : Text(); };
   for (auto const& key : JoinKeys(before, after)) {
      AddIfDifferent(changes, prefix + key, "", get(Find(before, key)), get(Find(after, key)));
   }
}

void CompareNetwork(Changes& changes, unsigned int index, NetworkSettings const* before,
                    NetworkSettings const* after)
{
   static NetworkSettings const none;
   auto const name = GetNetworkName(index);
   AddIfDifferent(changes, name, "", before ? Text(present) : Text(),
                  after ? Text(present) : Text());
   if (after) {
      ForEachField([&](auto const& field) {
         AddIfDifferent(changes, name, field.key, Write(field.in(before ? *before : none)),
                        Write(field.in(*after)));
      });
   }
   CompareTexts(changes, "", ListForwards(index, before ? *before : none),
                ListForwards(index, after ? *after : none));
}

std::map<std::string, std::string> ListAdapters(Settings const& settings)
{
   std::map<std::string, std::string> adapters;
   for (auto const& [name, index] : settings.adapters) {
      adapters[name] = GetNetworkName(index);
   }
   return adapters;
}

} // namespace

Changes FindChanges(Settings const& before, Settings const& after)
{
   Changes changes;
   auto const name = [](std::optional<unsigned int> index) {
      return index ? Text(GetNetworkName(*index)) : Text();
   };
   AddIfDifferent(changes, "automatic", "", name(before.automatic), name(after.automatic));
   CompareTexts(changes, "adapter ", ListAdapters(before), ListAdapters(after));
   for (unsigned int const index : JoinKeys(before.networks, after.networks)) {
      CompareNetwork(changes, index, Find(before.networks, index), Find(after.networks, index));
   }
   return changes;
}

std::string ToString(Change const& change)
{
   auto const text = [](Text const& value) { return value.value_or("none"); };
   return change.object + (change.key.empty() ? "" : " " + change.key) + ": " +
          text(change.before) + " -> " + text(change.after);
}

} // namespace vnet::document
