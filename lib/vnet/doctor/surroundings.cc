// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/surroundings.hh"

#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>

namespace vnet::doctor {

host::Link const* Surroundings::FindLink(int index) const
{
   auto const found = std::ranges::find(links, index, &host::Link::index);
   return found == links.end() ? nullptr : &*found;
}

host::Link const* Surroundings::FindLink(std::string const& name) const
{
   auto const found = std::ranges::find(links, name, &host::Link::name);
   return found == links.end() ? nullptr : &*found;
}

Surroundings LookAround(SystemRoots const& roots, std::vector<std::string>& complaints)
{
   host::RouteSocket socket;
   host::Routes routes(socket);
   Surroundings around;
   around.roots = roots;
   around.links = host::Links(socket, roots.sys).List();
   around.addresses = host::Addresses(socket).List();
   around.routes = routes.List(AF_INET);
   auto const byDefault = routes.FindDefault(AF_INET);
   auto const* const wayOut = byDefault ? around.FindLink(byDefault->link) : nullptr;
   around.wayOut = wayOut ? wayOut->name : "";
   try {
      around.sockets = host::Sockets().List();
   } catch (Error const& error) {
      complaints.push_back(error.what());
   }
   return around;
}

} // namespace vnet::doctor
