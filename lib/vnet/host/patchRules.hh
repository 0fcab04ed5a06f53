// SPDX-License-Identifier: GPL-2.0-or-later
// The rules that join an adapter and a bridge, as text.
#pragma once

#include "vnet/host/macAddress.hh"

#include <optional>
#include <string>

namespace vnet::host {

// The devices by name for the hooks, and by index where frames are handed to them: libnftables
// remembers which index a name had.
struct PatchDevices {
   std::string adapter;
   int adapterIndex = 0;
   MacAddress adapterMac;
   std::string bridge;
   std::string port; // in the bridge
   int hostEndIndex = 0;
   // Whether the adapter was set promiscuous for this patch, which the table notes too.
   bool promiscuous = false;
};

// Whether rules can name the device: letters, digits, ".", "-" and "_".
bool CanBePatched(std::string const& adapter);

// The name of an adapter's table, of family netdev, and the adapter of such a name.
std::string GetPatchTable(std::string const& adapter);
std::optional<std::string> ParsePatchTable(std::string const& table);

// Commands, for one transaction, that make the table or put its rules right. What was learned about
// guests stays.
std::string MakePatchRules(PatchDevices const& devices);

// Commands, for one transaction, that leave nothing of the table but the note that the adapter was
// set promiscuous for a patch.
std::string MakePromiscuousNote(std::string const& adapter);

// What a listing of the table notes.
bool IsPromiscuousNoted(std::string const& listing);

} // namespace vnet::host
