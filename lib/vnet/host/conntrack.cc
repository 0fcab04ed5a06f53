// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/conntrack.hh"

#include "vnet/values/error.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/netfilter/nf_conntrack_common.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <linux/netlink.h>
#include <netinet/in.h>
#include <optional>

namespace vnet::host {

namespace {

constexpr int GetType(int operation)
{
   return NFNL_SUBSYS_CTNETLINK << 8 | operation;
}

Request MakeRequest(int operation, unsigned char family)
{
   Request request(GetType(operation), 0);
   nfgenmsg header{};
   header.nfgen_family = family;
   header.version = NFNETLINK_V0;
   request.Append(header);
   return request;
}

std::optional<InetAddress> ReadAddress(unsigned char family, Attributes const& ip, int attribute)
{
   auto const* found = ip.Find(attribute);
   return found ? InetAddress::FromBytes(family, GetData(found), GetLength(found)) : std::nullopt;
}

std::optional<Tuple> ReadTuple(unsigned char family, nlattr const* nest)
{
   Attributes const tuple(nest);
   Attributes const ip(tuple.Find(CTA_TUPLE_IP));
   Attributes const protocol(tuple.Find(CTA_TUPLE_PROTO));
   bool const four = family == AF_INET;
   auto const source = ReadAddress(family, ip, four ? CTA_IP_V4_SRC : CTA_IP_V6_SRC);
   auto const destination = ReadAddress(family, ip, four ? CTA_IP_V4_DST : CTA_IP_V6_DST);
   if (!source || !destination) {
      return {};
   }
   return Tuple{*source, *destination, ntohs(protocol.GetU16(CTA_PROTO_SRC_PORT)),
                ntohs(protocol.GetU16(CTA_PROTO_DST_PORT))};
}

unsigned char ReadProtocol(nlattr const* tuple)
{
   return Attributes(Attributes(tuple).Find(CTA_TUPLE_PROTO)).GetU8(CTA_PROTO_NUM);
}

std::optional<Flow> Decode(nlmsghdr const* message)
{
   auto const* header = GetHeader<nfgenmsg>(message);
   if (!header) {
      return {};
   }
   Attributes const attributes(message, sizeof *header);
   auto const* originalNest = attributes.Find(CTA_TUPLE_ORIG);
   auto const original = ReadTuple(header->nfgen_family, originalNest);
   auto const reply = ReadTuple(header->nfgen_family, attributes.Find(CTA_TUPLE_REPLY));
   if (!original || !reply) {
      return {};
   }
   Flow flow;
   flow.protocol = ReadProtocol(originalNest);
   flow.original = *original;
   flow.reply = *reply;
   flow.status = ntohl(attributes.GetU32(CTA_STATUS));
   flow.timeout = ntohl(attributes.GetU32(CTA_TIMEOUT));
   flow.zone = ntohs(attributes.GetU16(CTA_ZONE));
   // An opaque number, in whatever order.
   flow.id = attributes.GetU32(CTA_ID);
   return flow;
}

void PutIp(Request& request, Tuple const& tuple)
{
   bool const four = tuple.source.family == AF_INET;
   auto const put = [&](int attribute, InetAddress const& address) {
      request.Put(attribute, address.bytes.data(), address.GetLength());
   };
   put(four ? CTA_IP_V4_SRC : CTA_IP_V6_SRC, tuple.source);
   put(four ? CTA_IP_V4_DST : CTA_IP_V6_DST, tuple.destination);
}

bool IsTo(Flow const& flow, std::set<HostPort> const& ports, std::set<Address> const& hostAddresses)
{
   bool const tcp = flow.protocol == IPPROTO_TCP;
   auto const address = flow.original.destination.ToAddress();
   return (tcp || flow.protocol == IPPROTO_UDP) &&
          ports.contains({tcp, flow.original.destinationPort}) && address &&
          (address->value >> 24 == IN_LOOPBACKNET || hostAddresses.contains(*address));
}

} // namespace

bool Flow::IsTranslated() const
{
   return status & IPS_NAT_MASK;
}

Conntrack::Conntrack() : socket(NETLINK_NETFILTER) {}

std::vector<Flow> Conntrack::List(unsigned char family)
{
   auto request = MakeRequest(IPCTNL_MSG_CT_GET, family);
   return socket.Collect(request, "tracked connections", Decode);
}

bool Conntrack::DeleteOne(Flow const& flow)
{
   auto request = MakeRequest(IPCTNL_MSG_CT_DELETE, flow.original.source.family);
   request.Nest(CTA_TUPLE_ORIG | NLA_F_NESTED, [&] {
      request.Nest(CTA_TUPLE_IP | NLA_F_NESTED, [&] { PutIp(request, flow.original); });
      request.Nest(CTA_TUPLE_PROTO | NLA_F_NESTED, [&] {
         request.PutU8(CTA_PROTO_NUM, flow.protocol);
         request.PutU16(CTA_PROTO_SRC_PORT, htons(flow.original.sourcePort));
         request.PutU16(CTA_PROTO_DST_PORT, htons(flow.original.destinationPort));
      });
   });
   if (flow.zone) {
      request.PutU16(CTA_ZONE, htons(flow.zone));
   }
   // Else a new flow of the same tuple would go in its place.
   request.PutU32(CTA_ID, flow.id);
   int const error = socket.Try(request);
   if (error && error != ENOENT) {
      throw Error("forget", "a tracked connection", socket.GetCause());
   }
   return error == 0;
}

unsigned int Conntrack::Delete(std::function<bool(Flow const&)> const& matches)
{
   unsigned int deleted = 0;
   for (auto const& flow : List(AF_UNSPEC)) {
      if (matches(flow) && DeleteOne(flow)) {
         ++deleted;
      }
   }
   return deleted;
}

unsigned int Conntrack::FlushForwards(std::set<HostPort> const& ports,
                                      std::set<Address> const& hostAddresses)
{
   return Delete([&](Flow const& flow) { return IsTo(flow, ports, hostAddresses); });
}

unsigned int Conntrack::FlushUntranslated(std::set<HostPort> const& ports,
                                          std::set<Address> const& hostAddresses)
{
   return Delete(
      [&](Flow const& flow) { return !flow.IsTranslated() && IsTo(flow, ports, hostAddresses); });
}

} // namespace vnet::host
