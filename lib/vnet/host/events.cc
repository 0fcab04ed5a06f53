// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/events.hh"

#include "vnet/host/decode.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace vnet::host {

namespace {

// The kernel's datagrams are smaller than this (NLMSG_GOODSIZE and a little).
constexpr std::size_t datagramSize = 64 * 1024;
// Room for a burst: 256 networks started at once.
constexpr int bufferSize = 4 * 1024 * 1024;

[[noreturn]] void Fail()
{
   throw Error("listen to", "network events", strerror(errno));
}

base::FileDescriptor Subscribe(int protocol, std::initializer_list<unsigned int> groups)
{
   base::FileDescriptor socket(
      ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
   sockaddr_nl address{};
   address.nl_family = AF_NETLINK;
   if (!socket.IsOpen() ||
       bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) {
      Fail();
   }
   // Beyond the limit for all, if we may; a smaller buffer only loses events sooner.
   if (setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &bufferSize, sizeof bufferSize) < 0) {
      setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof bufferSize);
   }
   for (unsigned int const group : groups) {
      if (setsockopt(socket.Get(), SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group) < 0) {
         Fail();
      }
   }
   return socket;
}

void Watch(base::FileDescriptor const& poller, base::FileDescriptor const& watched)
{
   epoll_event event{};
   event.events = EPOLLIN;
   if (epoll_ctl(poller.Get(), EPOLL_CTL_ADD, watched.Get(), &event) < 0) {
      Fail();
   }
}

void DecodeRoute(nlmsghdr const* message, std::vector<Event>& events)
{
   auto const type = message->nlmsg_type;
   if (type == RTM_NEWLINK || type == RTM_DELLINK) {
      if (auto const link = DecodeLink(message)) {
         events.emplace_back(LinkChanged{*link, type == RTM_DELLINK});
      }
   } else if (type == RTM_NEWADDR || type == RTM_DELADDR) {
      if (auto const address = DecodeAddress(message)) {
         events.emplace_back(AddressChanged{*address, type == RTM_DELADDR});
      }
   } else if (type == RTM_NEWROUTE || type == RTM_DELROUTE) {
      if (auto const route = host::DecodeRoute(message)) {
         events.emplace_back(RouteChanged{*route, type == RTM_DELROUTE});
      }
   }
}

} // namespace

// A request for the generation is answered with the name and number of the process that asks.
std::uint32_t FindOwnProcess()
{
   Request request(NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_GETGEN, 0);
   nfgenmsg header{};
   header.version = NFNETLINK_V0;
   request.Append(header);
   std::uint32_t process = 0;
   NetlinkSocket(NETLINK_NETFILTER)
      .Run(request, "ask", "nftables who is asking", [&process](nlmsghdr const* message) {
         process = ntohl(Attributes(message, sizeof(nfgenmsg)).GetU32(NFTA_GEN_PROC_PID));
      });
   return process;
}

Events::Events()
   : routes(Subscribe(NETLINK_ROUTE, {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV6_IFADDR,
                                      RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV6_ROUTE})),
     rules(Subscribe(NETLINK_NETFILTER, {NFNLGRP_NFTABLES})), poller(epoll_create1(EPOLL_CLOEXEC))
{
   if (!poller.IsOpen()) {
      Fail();
   }
   Watch(poller, routes);
   Watch(poller, rules);
}

std::vector<Event> Events::Read()
{
   std::vector<Event> events;
   while (Receive(routes, events)) {
   }
   while (Receive(rules, events)) {
   }
   return events;
}

bool Events::Receive(base::FileDescriptor const& from, std::vector<Event>& events)
{
   alignas(nlmsghdr) static thread_local std::array<char, datagramSize> buffer;
   sockaddr_nl sender{};
   socklen_t senderLength = sizeof sender;
   auto const length = recvfrom(from.Get(), buffer.data(), buffer.size(), MSG_TRUNC,
                                reinterpret_cast<sockaddr*>(&sender), &senderLength);
   if (length < 0 && errno == EINTR) {
      return true;
   }
   if (length < 0 && errno == EAGAIN) {
      return false;
   }
   if (length < 0 || static_cast<std::size_t>(length) > buffer.size()) {
      // A half heard transaction is as good as unheard.
      transaction.clear();
      events.emplace_back(EventsLost{});
      return length >= 0 || errno == ENOBUFS;
   }
   // Any process may send to a netlink socket; the kernel's port is 0.
   if (sender.nl_pid == 0) {
      Decode({buffer.data(), static_cast<std::size_t>(length)}, &from == &routes, events);
   }
   return true;
}

void Events::Decode(std::string_view datagram, bool isRoute, std::vector<Event>& events)
{
   auto const* message = reinterpret_cast<nlmsghdr const*>(datagram.data());
   auto left = static_cast<unsigned int>(datagram.size());
   for (; NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
      if (isRoute) {
         DecodeRoute(message, events);
      } else {
         DecodeRules(message, events);
      }
   }
}

// The messages of a transaction name their tables; its last one, the generation, tells who did it.
void Events::DecodeRules(nlmsghdr const* message, std::vector<Event>& events)
{
   auto const* header = GetHeader<nfgenmsg>(message);
   if (!header || message->nlmsg_type >> 8 != NFNL_SUBSYS_NFTABLES) {
      return;
   }
   int const operation = message->nlmsg_type & 0xff;
   Attributes const attributes(message, sizeof *header);
   if (operation != NFT_MSG_NEWGEN) {
      // In every kind of message the first attribute is the table's name.
      NoteTable({header->nfgen_family, attributes.GetString(NFTA_TABLE_NAME),
                 operation == NFT_MSG_DELTABLE, 0});
      return;
   }
   for (auto& changed : transaction) {
      changed.process = ntohl(attributes.GetU32(NFTA_GEN_PROC_PID));
      events.emplace_back(changed);
   }
   transaction.clear();
}

void Events::NoteTable(RulesetChanged const& changed)
{
   auto const same = std::find_if(transaction.begin(), transaction.end(), [&](auto const& earlier) {
      return earlier.family == changed.family && earlier.table == changed.table;
   });
   if (same == transaction.end()) {
      transaction.push_back(changed);
   } else {
      // Removed and made again within the transaction is replaced.
      same->removed = changed.removed;
   }
}

} // namespace vnet::host
