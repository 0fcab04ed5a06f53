// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/ours.hh"

#include "vnet/host/links.hh"
#include "vnet/host/patchPairs.hh"
#include "vnet/services/wanted.hh"
#include "vnet/values/settings.hh"

namespace vnet::engine {

std::optional<unsigned int> FindBridgeIndex(host::Link const& link)
{
   auto const index = ParseNetworkName(link.name);
   if (!index || !link.IsBridge() || link.alias != services::GetTableName(*index)) {
      return {};
   }
   return index;
}

bool IsOurs(host::Link const& link)
{
   return FindBridgeIndex(link) || IsPatch(link);
}

bool IsPatch(host::Link const& link)
{
   return host::ParsePatchPart(link).has_value();
}

std::optional<unsigned int> ParseTableName(std::string const& table)
{
   std::string const prefix = tablePrefix;
   return table.starts_with(prefix) ? ParseNetworkName(table.substr(prefix.size())) : std::nullopt;
}

} // namespace vnet::engine
