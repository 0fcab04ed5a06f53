// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/addresses.hh"

#include "vnet/host/decode.hh"
#include "vnet/host/links.hh"
#include "vnet/host/netlink.hh"
#include "vnet/values/error.hh"

#include <cerrno>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

namespace vnet::host {

namespace {

Request MakeRequest(int type, int flags, Link const& link, InterfaceAddress const& address)
{
   Request request(type, flags);
   ifaddrmsg header{};
   header.ifa_family = address.address.family;
   header.ifa_prefixlen = address.prefixLength;
   header.ifa_scope = address.scope;
   header.ifa_index = static_cast<unsigned int>(link.index);
   request.Append(header);
   auto const* bytes = address.address.bytes.data();
   auto const length = address.address.GetLength();
   return std::move(request.Put(IFA_LOCAL, bytes, length).Put(IFA_ADDRESS, bytes, length));
}

// RFC 3021: the two addresses of a /31 are both hosts, and a /32 has nobody to tell.
std::optional<InetAddress> GetBroadcast(InterfaceAddress const& address)
{
   auto const own = address.address.ToAddress();
   if (!own || address.prefixLength > 30) {
      return {};
   }
   return Address{own->value | (~std::uint32_t{0} >> address.prefixLength)};
}

std::string Describe(Link const& link, InterfaceAddress const& address)
{
   return address.address.ToString() + "/" + std::to_string(address.prefixLength) + " of " +
          link.name;
}

} // namespace

std::vector<InterfaceAddress> Addresses::List()
{
   Request request(RTM_GETADDR, 0);
   request.Append(ifaddrmsg{});
   return socket.Collect(request, "addresses", DecodeAddress);
}

std::vector<InterfaceAddress> Addresses::List(Link const& link)
{
   auto addresses = List();
   std::erase_if(addresses, [&](auto const& address) { return address.link != link.index; });
   return addresses;
}

void Addresses::Add(Link const& link, InterfaceAddress const& address)
{
   auto request = MakeRequest(RTM_NEWADDR, NLM_F_CREATE | NLM_F_REPLACE, link, address);
   request.PutU32(IFA_FLAGS, address.flags);
   if (auto const broadcast = GetBroadcast(address)) {
      request.Put(IFA_BROADCAST, broadcast->bytes.data(), broadcast->GetLength());
   }
   socket.Run(request, "add address", Describe(link, address));
}

void Addresses::Remove(Link const& link, InterfaceAddress const& address)
{
   auto request = MakeRequest(RTM_DELADDR, 0, link, address);
   int const error = socket.Try(request);
   if (error && error != EADDRNOTAVAIL && error != ENODEV) {
      throw Error("remove address", Describe(link, address), socket.GetCause());
   }
}

} // namespace vnet::host
