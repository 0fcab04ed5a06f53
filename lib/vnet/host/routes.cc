// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/routes.hh"

#include "vnet/host/decode.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <cerrno>

namespace vnet::host {

namespace {

Request MakeRequest(int type, int flags, Route const& route)
{
   Request request(type, flags);
   rtmsg header{};
   header.rtm_family = route.destination.family;
   header.rtm_dst_len = route.prefixLength;
   header.rtm_table = RT_TABLE_UNSPEC; // RTA_TABLE has room for the large numbers too
   header.rtm_protocol = route.protocol;
   header.rtm_scope = route.scope;
   header.rtm_type = route.type;
   request.Append(header);
   request.PutU32(RTA_TABLE, route.table);
   auto const put = [&](int attribute, InetAddress const& address) {
      request.Put(attribute, address.bytes.data(), address.GetLength());
   };
   if (route.prefixLength > 0) {
      put(RTA_DST, route.destination);
   }
   if (route.gateway) {
      put(RTA_GATEWAY, *route.gateway);
   }
   if (route.source) {
      put(RTA_PREFSRC, *route.source);
   }
   if (route.link) {
      request.PutU32(RTA_OIF, static_cast<std::uint32_t>(route.link));
   }
   if (route.metric) {
      request.PutU32(RTA_PRIORITY, route.metric);
   }
   return request;
}

} // namespace

std::string Route::ToString() const
{
   return destination.ToString() + "/" + std::to_string(prefixLength);
}

std::vector<Route> Routes::List(unsigned char family)
{
   Request request(RTM_GETROUTE, 0);
   rtmsg header{};
   header.rtm_family = family;
   request.Append(header);
   return socket.Collect(request, "routes", DecodeRoute);
}

std::optional<Route> Routes::FindDefault(unsigned char family)
{
   auto routes = List(family);
   std::erase_if(routes, [](auto const& route) {
      return !route.IsDefault() || route.table != RT_TABLE_MAIN || route.link == 0;
   });
   auto const best = std::min_element(routes.begin(), routes.end(),
                                      [](auto& a, auto& b) { return a.metric < b.metric; });
   return best == routes.end() ? std::nullopt : std::optional(*best);
}

void Routes::Add(Route const& route)
{
   auto request = MakeRequest(RTM_NEWROUTE, NLM_F_CREATE | NLM_F_REPLACE, route);
   socket.Run(request, "add route", route.ToString());
}

void Routes::Remove(Route const& route)
{
   auto request = MakeRequest(RTM_DELROUTE, 0, route);
   if (int const error = socket.Try(request); error && error != ESRCH) {
      throw Error("remove route", route.ToString(), socket.GetCause());
   }
}

} // namespace vnet::host
