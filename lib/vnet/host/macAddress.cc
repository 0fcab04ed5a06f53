// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/macAddress.hh"

#include "vnet/values/error.hh"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <sys/random.h>

namespace vnet::host {

std::optional<MacAddress> MacAddress::Parse(std::string_view text)
{
   MacAddress mac;
   if (text.size() != 3 * mac.bytes.size() - 1) {
      return {};
   }
   for (std::size_t i = 0; i < mac.bytes.size(); ++i) {
      auto const* begin = text.data() + 3 * i;
      auto const result = std::from_chars(begin, begin + 2, mac.bytes[i], 16);
      bool const separated = i + 1 == mac.bytes.size() || begin[2] == ':';
      if (result.ec != std::errc() || result.ptr != begin + 2 || !separated) {
         return {};
      }
   }
   return mac;
}

MacAddress MacAddress::MakeRandom()
{
   MacAddress mac;
   if (getrandom(mac.bytes.data(), mac.bytes.size(), 0) != ssize_t(mac.bytes.size())) {
      throw Error("make", "a hardware address", strerror(errno));
   }
   // IEEE 802: bit 1 of the first byte is "locally administered", bit 0 is "group".
   mac.bytes[0] = static_cast<std::uint8_t>((mac.bytes[0] & 0xfc) | 0x02);
   return mac;
}

std::string MacAddress::ToString() const
{
   char text[18];
   std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
                 bytes[3], bytes[4], bytes[5]);
   return text;
}

} // namespace vnet::host
