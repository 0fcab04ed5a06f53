// SPDX-License-Identifier: GPL-2.0-or-later
// A save by the C interface, call by call in the order in which the server makes them.
#pragma once

#include "vnet/values/settings.hh"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

// What an editor holds of a network.
struct EditedNetwork {
   enum class Type { Bridged, Nat, HostOnly };

   Type type = Type::Nat;
   bool dhcp = true;
   bool adapter = true;
   std::string subnet; // empty: the library is to choose
   std::string mask = "255.255.255.0";
   std::optional<unsigned int> mtu;
   std::string gateway;
   std::vector<vnet::PortForward> forwards;
   bool automatic = false; // of a bridged one
};

struct Edited {
   // A removed network keeps an empty slot.
   std::map<unsigned int, std::optional<EditedNetwork>> networks;
   // The host's adapters with their networks.
   std::map<std::string, unsigned int> adapters;

   static EditedNetwork MakeNat(unsigned int index);
   static EditedNetwork MakeHostOnly(unsigned int index);
   static EditedNetwork MakeBridged(bool automatic = false);
};

// All calls between load and unload. With `atEnd` it stops before the call of that number, as if
// the process died there. Returns how many calls were made.
unsigned int WalkSave(Edited const& model, std::optional<unsigned int> atEnd = {});

// Load, walk, unload.
void Save(Edited const& model);

} // namespace test
