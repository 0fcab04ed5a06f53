// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/services/wanted.hh"

#include "vnet/values/settings.hh"

namespace vnet::services {

std::string GetTableName(unsigned int index)
{
   return "tavrin-" + GetNetworkName(index);
}

std::string GetRemovalRuleset(unsigned int index)
{
   // Only what is there can be deleted; naming a table makes it.
   std::string const table = "table inet " + GetTableName(index) + "\n";
   return table + "delete " + table;
}

} // namespace vnet::services
