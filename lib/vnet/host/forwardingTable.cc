// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/forwardingTable.hh"

#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <cstring>
#include <linux/if_link.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <sys/socket.h>

namespace vnet::host {

namespace {

std::optional<ForwardingEntry> Decode(nlmsghdr const* message)
{
   auto const* header = GetHeader<ndmsg>(message);
   if (!header || header->ndm_family != AF_BRIDGE) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   auto const* address = attributes.Find(NDA_LLADDR);
   ForwardingEntry entry;
   if (!address || GetLength(address) != entry.mac.bytes.size()) {
      return {};
   }
   std::memcpy(entry.mac.bytes.data(), GetData(address), entry.mac.bytes.size());
   entry.port = header->ndm_ifindex;
   entry.kind = header->ndm_state & NUD_PERMANENT ? ForwardingEntry::Kind::Own
                : header->ndm_state & NUD_NOARP   ? ForwardingEntry::Kind::Pinned
                                                  : ForwardingEntry::Kind::Learned;
   return entry;
}

Request MakeRequest(int type, int flags, Link const& port, MacAddress mac, unsigned char entryFlags)
{
   Request request(type, flags);
   ndmsg header{};
   header.ndm_family = AF_BRIDGE;
   header.ndm_ifindex = port.index;
   header.ndm_state = NUD_NOARP; // doesn't age
   header.ndm_flags = NTF_MASTER | entryFlags;
   request.Append(header);
   request.Put(NDA_LLADDR, mac.bytes.data(), mac.bytes.size());
   return request;
}

} // namespace

std::vector<ForwardingEntry> ForwardingTable::List(Link const& bridge)
{
   Request request(RTM_GETNEIGH, 0);
   ndmsg header{};
   header.ndm_family = AF_BRIDGE;
   request.Append(header);
   request.PutU32(NDA_MASTER, static_cast<std::uint32_t>(bridge.index));
   return socket.Collect(request, "forwarding table of " + bridge.name, Decode);
}

void ForwardingTable::FlushLearned(Link const& port)
{
   Request request(RTM_SETLINK, 0);
   ifinfomsg header{};
   header.ifi_family = AF_BRIDGE;
   header.ifi_index = port.index;
   request.Append(header);
   request.Nest(IFLA_PROTINFO | NLA_F_NESTED, [&] { request.Put(IFLA_BRPORT_FLUSH, nullptr, 0); });
   socket.Run(request, "forget addresses behind", port.name);
}

void ForwardingTable::Pin(Link const& port, MacAddress mac)
{
   // Sticky: it doesn't move to the port of a frame that claims it.
   auto request = MakeRequest(RTM_NEWNEIGH, NLM_F_CREATE | NLM_F_REPLACE, port, mac, NTF_STICKY);
   socket.Run(request, "pin " + mac.ToString() + " behind", port.name);
}

void ForwardingTable::Unpin(Link const& port, MacAddress mac)
{
   auto request = MakeRequest(RTM_DELNEIGH, 0, port, mac, 0);
   if (int const error = socket.Try(request); error && error != ENOENT) {
      throw Error("unpin " + mac.ToString() + " behind", port.name, socket.GetCause());
   }
}

} // namespace vnet::host
