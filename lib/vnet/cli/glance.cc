// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/glance.hh"

#include "vnet/engine/ours.hh"
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

std::vector<std::string> ListAddresses(host::RouteSocket& socket, host::Link const& bridge)
{
   std::vector<std::string> texts;
   for (auto const& address : host::Addresses(socket).List(bridge)) {
      if (IsTelling(address)) {
         texts.push_back(address.address.ToString() + "/" + std::to_string(address.prefixLength));
      }
   }
   return texts;
}

std::vector<std::string> ListPlugged(std::vector<host::Link> const& links, host::Link const& bridge)
{
   std::vector<std::string> names;
   for (auto const& link : links) {
      if (link.master == bridge.index && !engine::IsPatch(link)) {
         names.push_back(link.name);
      }
   }
   return names;
}

} // namespace

std::map<unsigned int, Glance> GlanceAtNetworks()
{
   host::RouteSocket socket;
   auto const links = host::Links(socket).List();
   std::map<unsigned int, Glance> networks;
   for (auto const& link : links) {
      if (auto const index = ParseNetworkName(link.name)) {
         networks[*index] = {!engine::FindBridgeIndex(link), ListAddresses(socket, link),
                             ListPlugged(links, link)};
      }
   }
   return networks;
}

} // namespace vnet::cli
