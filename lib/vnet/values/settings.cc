// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/settings.hh"

#include "vnet/values/parse.hh"

namespace vnet {

namespace {

constexpr std::string_view prefix = "tvnet";

} // namespace

std::string GetNetworkName(unsigned int index)
{
   return std::string(prefix) + std::to_string(index);
}

std::optional<unsigned int> ParseNetworkName(std::string_view name)
{
   if (!name.starts_with(prefix)) {
      return {};
   }
   return ParseNumber(name.substr(prefix.size()), 0, maxNetworks - 1);
}

std::optional<Subnet> NetworkSettings::GetSubnet() const
{
   return subnetAddress && subnetMask ? Subnet::Make(*subnetAddress, *subnetMask) : std::nullopt;
}

} // namespace vnet
