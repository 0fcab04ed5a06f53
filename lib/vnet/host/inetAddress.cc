// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/inetAddress.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace vnet::host {

InetAddress::InetAddress(Address address)
{
   auto const value = htonl(address.value);
   std::memcpy(bytes.data(), &value, sizeof value);
}

std::optional<InetAddress> InetAddress::FromBytes(unsigned char family, void const* data,
                                                  std::size_t length)
{
   InetAddress address;
   address.family = family;
   if ((family != AF_INET && family != AF_INET6) || length != address.GetLength()) {
      return {};
   }
   std::memcpy(address.bytes.data(), data, length);
   return address;
}

std::optional<InetAddress> InetAddress::Parse(std::string const& text)
{
   InetAddress address;
   for (unsigned char const family : {AF_INET, AF_INET6}) {
      address.family = family;
      if (inet_pton(family, text.c_str(), address.bytes.data()) == 1) {
         return address;
      }
   }
   return {};
}

bool InetAddress::IsUnspecified() const
{
   return std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte == 0; });
}

std::optional<Address> InetAddress::ToAddress() const
{
   if (family != AF_INET) {
      return {};
   }
   std::uint32_t value;
   std::memcpy(&value, bytes.data(), sizeof value);
   return Address{ntohl(value)};
}

std::string InetAddress::ToString() const
{
   char text[INET6_ADDRSTRLEN];
   return inet_ntop(family, bytes.data(), text, sizeof text);
}

} // namespace vnet::host
