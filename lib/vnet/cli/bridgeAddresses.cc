// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/bridgeAddresses.hh"

#include "vnet/host/addresses.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/settings.hh"

#include <linux/rtnetlink.h>

namespace vnet::cli {

namespace {

// Every device has an IPv6 address of its link alone; it says nothing.
bool IsTelling(host::InterfaceAddress const& address)
{
   return address.address.family == AF_INET || address.scope == RT_SCOPE_UNIVERSE;
}

} // namespace

std::vector<std::string> ListBridgeAddresses(unsigned int index)
{
   host::RouteSocket socket;
   auto const bridge = host::Links(socket).Find(GetNetworkName(index));
   std::vector<std::string> texts;
   if (!bridge) {
      return texts;
   }
   for (auto const& address : host::Addresses(socket).List(*bridge)) {
      if (IsTelling(address)) {
         texts.push_back(address.address.ToString() + "/" + std::to_string(address.prefixLength));
      }
   }
   return texts;
}

} // namespace vnet::cli
