// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/store.hh"

#include "vnet/database/database.hh"

#include <algorithm>

namespace vnet::document {

namespace {

bool HasForward(NetworkSettings const& network, PortForward const& forward)
{
   return std::ranges::any_of(network.nat.forwards, [&](PortForward const& other) {
      return other.tcp == forward.tcp && other.hostPort == forward.hostPort;
   });
}

void StoreNetwork(Database& database, unsigned int index, NetworkSettings const& wanted)
{
   auto const before = database.GetNetwork(index);
   database.AddNetwork(index);
   ForEachField([&](auto const& field) {
      if (field.in(before) != field.in(wanted)) {
         database.Set(index, field, field.in(wanted));
      }
   });
   for (auto const& forward : before.nat.forwards) {
      if (!HasForward(wanted, forward)) {
         database.RemoveForward(index, forward.tcp, forward.hostPort);
      }
   }
   for (auto const& forward : wanted.nat.forwards) {
      if (std::ranges::find(before.nat.forwards, forward) == before.nat.forwards.end()) {
         database.SetForward(index, forward);
      }
   }
}

void StoreAdapters(Database& database, Settings const& wanted)
{
   auto const before = database.GetSettings().adapters;
   for (auto const& entry : before) {
      if (!wanted.adapters.contains(entry.first)) {
         database.MoveAdapter(entry.first, {});
      }
   }
   for (auto const& [name, network] : wanted.adapters) {
      database.MoveAdapter(name, network);
   }
}

} // namespace

void Store(Database& database, Settings const& settings)
{
   database.Lock();
   auto const before = database.GetSettings().networks;
   for (auto const& entry : before) {
      if (!settings.networks.contains(entry.first)) {
         database.DeleteNetwork(entry.first);
      }
   }
   for (auto const& [index, network] : settings.networks) {
      StoreNetwork(database, index, network);
   }
   StoreAdapters(database, settings);
   if (database.GetSettings().automatic != settings.automatic) {
      database.SetAutomatic(settings.automatic);
   }
}

} // namespace vnet::document
