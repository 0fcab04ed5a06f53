// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/trafficControl.hh"

#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <linux/if_ether.h>
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <linux/tc_act/tc_mirred.h>
#include <optional>

namespace vnet::host {

namespace {

constexpr std::uint32_t ingress = TC_H_MAKE(TC_H_CLSACT, TC_H_MIN_INGRESS);

Request MakeRequest(int type, int flags, tcmsg const& header)
{
   Request request(type, flags);
   request.Append(header);
   return request;
}

tcmsg MakeHeader(Link const& link, std::uint32_t parent, std::uint16_t priority = 0)
{
   tcmsg header{};
   header.tcm_family = AF_UNSPEC;
   header.tcm_ifindex = link.index;
   header.tcm_parent = parent;
   header.tcm_info = priority ? TC_H_MAKE(priority << 16, htons(ETH_P_ALL)) : 0;
   return header;
}

// "Every frame": one key that masks everything away. The kernel wants at least one key where there
// is an action, and has this classifier where it has any.
void PutMatchAll(Request& request)
{
   tc_u32_sel selector{};
   selector.flags = TC_U32_TERMINAL;
   selector.nkeys = 1;
   tc_u32_key const key{};
   std::array<char, sizeof selector + sizeof key> match;
   std::memcpy(match.data(), &selector, sizeof selector);
   std::memcpy(match.data() + sizeof selector, &key, sizeof key);
   request.Put(TCA_U32_SEL, match.data(), match.size());
}

void PutRedirect(Request& request, Link const& target)
{
   tc_mirred redirect{};
   redirect.action = TC_ACT_STOLEN;
   redirect.eaction = TCA_INGRESS_REDIR;
   redirect.ifindex = static_cast<std::uint32_t>(target.index);
   request.Nest(TCA_U32_ACT, [&] {
      request.Nest(1, [&] { // the order among actions
         request.PutString(TCA_ACT_KIND, "mirred");
         request.Nest(TCA_ACT_OPTIONS,
                      [&] { request.Put(TCA_MIRRED_PARMS, &redirect, sizeof redirect); });
      });
   });
}

// The redirecting action of a filter's options, if its first action is one.
std::optional<int> ReadTarget(nlattr const* options)
{
   Attributes const actions(Attributes(options).Find(TCA_U32_ACT));
   Attributes const action(actions.Find(1));
   Attributes const parameters(action.Find(TCA_ACT_OPTIONS));
   auto const* mirred = parameters.Find(TCA_MIRRED_PARMS);
   if (action.GetString(TCA_ACT_KIND) != "mirred" || !mirred ||
       GetLength(mirred) < sizeof(tc_mirred)) {
      return {};
   }
   auto const* redirect = static_cast<tc_mirred const*>(GetData(mirred));
   return redirect->eaction == TCA_INGRESS_REDIR ? std::optional(int(redirect->ifindex))
                                                 : std::nullopt;
}

std::optional<RedirectFilter> Decode(nlmsghdr const* message)
{
   auto const* header = GetHeader<tcmsg>(message);
   if (!header) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   // A classifier also lists itself and its hash table, which have no action.
   auto const target = ReadTarget(attributes.Find(TCA_OPTIONS));
   if (attributes.GetString(TCA_KIND) != "u32" || !target) {
      return {};
   }
   return RedirectFilter{static_cast<std::uint16_t>(TC_H_MAJ(header->tcm_info) >> 16), *target};
}

} // namespace

std::vector<RedirectFilter> TrafficControl::List(Link const& link)
{
   auto request = MakeRequest(RTM_GETTFILTER, 0, MakeHeader(link, ingress));
   return socket.Collect(request, "filters of " + link.name, Decode);
}

void TrafficControl::RedirectArriving(Link const& from, Link const& to, std::uint16_t priority)
{
   auto filters = List(from);
   std::erase_if(filters, [&](auto const& filter) { return filter.priority != priority; });
   if (filters == std::vector{RedirectFilter{priority, to.index}}) {
      return;
   }
   AddHook(from);
   Remove(from, priority);
   auto request =
      MakeRequest(RTM_NEWTFILTER, NLM_F_CREATE | NLM_F_EXCL, MakeHeader(from, ingress, priority));
   request.PutString(TCA_KIND, "u32");
   request.Nest(TCA_OPTIONS, [&] {
      PutMatchAll(request);
      PutRedirect(request, to);
   });
   socket.Run(request, "hand frames to " + to.name + " from", from.name);
}

void TrafficControl::AddHook(Link const& link)
{
   auto header = MakeHeader(link, TC_H_CLSACT);
   header.tcm_handle = TC_H_MAKE(TC_H_CLSACT, 0);
   auto request = MakeRequest(RTM_NEWQDISC, NLM_F_CREATE | NLM_F_EXCL, header);
   request.PutString(TCA_KIND, "clsact");
   if (int const error = socket.Try(request); error && error != EEXIST) {
      throw Error("add a filter hook to", link.name, socket.GetCause());
   }
}

void TrafficControl::Remove(Link const& link, std::uint16_t priority)
{
   auto request = MakeRequest(RTM_DELTFILTER, 0, MakeHeader(link, ingress, priority));
   if (int const error = socket.Try(request); error && error != ENOENT) {
      throw Error("remove filters of", link.name, socket.GetCause());
   }
}

} // namespace vnet::host
