// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/hostAdapters.hh"

#include "vnet/engine/ours.hh"

#include <algorithm>
#include <linux/if_arp.h>

namespace vnet::engine {

namespace {

// Those of the kinds that carry Ethernet but end in another program or machine.
bool IsTunnel(host::Link const& link)
{
   static char const* const kinds[] = {"tun",    "gretap",  "ip6gretap", "erspan", "vxlan",
                                       "geneve", "bareudp", "ip6erspan", "macsec", "l2tp"};
   return std::ranges::find(kinds, link.kind) != std::end(kinds);
}

bool CanBeOffered(host::Link const& link)
{
   return link.hardwareType == ARPHRD_ETHER && !link.IsLoopback() && !link.IsBridge() &&
          !IsTunnel(link) && !IsOurs(link);
}

} // namespace

std::vector<std::string> SelectAdapters(std::vector<host::Link> const& links,
                                        std::vector<std::string> const& named)
{
   std::vector<std::string> names;
   for (auto const& link : links) {
      bool const isNamed = std::ranges::find(named, link.name) != named.end();
      if (CanBeOffered(link) && (link.IsHardware() || isNamed)) {
         names.push_back(link.name);
      }
   }
   return names;
}

} // namespace vnet::engine
