// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/wanted.hh"

#include "vnet/values/settings.hh"

namespace vnet::services {

std::string GetTableName(unsigned int index)
{
   return "tavrin-" + GetNetworkName(index);
}

// Locally administered (the second bit of the first byte); the index makes it one of its own.
std::array<std::uint8_t, 6> GetBridgeMac(unsigned int index)
{
   return {0x02,
           0x74,
           0x76,
           0x6e,
           static_cast<std::uint8_t>(index >> 8),
           static_cast<std::uint8_t>(index)};
}

std::string GetRemovalRuleset(unsigned int index)
{
   // Only what is there can be deleted; naming a table makes it.
   std::string const table = "table inet " + GetTableName(index) + "\n";
   return table + "delete " + table;
}

} // namespace vnet::services
