// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/address.hh"

#include "vnet/values/parse.hh"

#include <algorithm>
#include <arpa/inet.h>
#include <bit>

namespace vnet {

namespace {

std::uint32_t GetMaskBits(unsigned int prefixLength)
{
   return prefixLength == 0 ? 0 : ~std::uint32_t{0} << (32 - prefixLength);
}

// Cuts the text before the next separator off rest, all of it if there is none.
std::string_view TakeUpTo(std::string_view& rest, char separator)
{
   auto const end = rest.find(separator);
   auto const part = rest.substr(0, end);
   rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
   return part;
}

void ClearHostBits(Prefix6& prefix)
{
   for (unsigned int bit = prefix.length; bit < 128; ++bit) {
      prefix.address[bit / 8] &= static_cast<std::uint8_t>(~(0x80 >> (bit % 8)));
   }
}

std::string Format6(std::array<std::uint8_t, 16> const& address)
{
   char text[INET6_ADDRSTRLEN];
   return inet_ntop(AF_INET6, address.data(), text, sizeof text);
}

} // namespace

std::optional<Address> Address::Parse(std::string_view text)
{
   // As many dots as four numbers have between them, so a trailing one is too many.
   if (std::count(text.begin(), text.end(), '.') != 3) {
      return {};
   }
   Address address;
   for (int part = 0; part < 4; ++part) {
      auto const number = ParseNumber(TakeUpTo(text, '.'), 0, 255);
      if (!number) {
         return {};
      }
      address.value = address.value << 8 | *number;
   }
   return address;
}

std::string Address::ToString() const
{
   std::string text;
   for (int shift = 24; shift >= 0; shift -= 8) {
      text += std::to_string(value >> shift & 0xff) + (shift ? "." : "");
   }
   return text;
}

std::optional<Subnet> Subnet::Make(Address address, Address mask)
{
   auto const length = GetPrefixLength(mask);
   if (!length || (address.value & ~mask.value) != 0) {
      return {};
   }
   return Subnet{address, *length};
}

Address Subnet::GetMask() const
{
   return {GetMaskBits(prefixLength)};
}

Address Subnet::GetBroadcast() const
{
   return {address.value | ~GetMaskBits(prefixLength)};
}

bool Subnet::Contains(Address other) const
{
   return (other.value & GetMaskBits(prefixLength)) == address.value;
}

bool Subnet::IsHost(Address other) const
{
   return Contains(other) && other != address && other != GetBroadcast();
}

bool Subnet::Overlaps(Subnet const& other) const
{
   return Contains(other.address) || other.Contains(address);
}

std::string Subnet::ToString() const
{
   return address.ToString() + "/" + std::to_string(prefixLength);
}

std::optional<unsigned int> GetPrefixLength(Address mask)
{
   auto const length = static_cast<unsigned int>(std::countl_one(mask.value));
   return mask.value == GetMaskBits(length) ? std::optional(length) : std::nullopt;
}

std::optional<Prefix6> Prefix6::Parse(std::string_view text)
{
   auto const slash = text.find('/');
   if (slash == std::string_view::npos) {
      return {};
   }
   auto const length = ParseNumber(text.substr(slash + 1), 0, 128);
   std::string const address(text.substr(0, slash));
   Prefix6 prefix;
   // inet_pton reads up to a NUL, takes no zone and no white space.
   bool const whole = address.find('\0') == std::string::npos;
   if (!length || !whole || inet_pton(AF_INET6, address.c_str(), prefix.address.data()) != 1) {
      return {};
   }
   prefix.length = *length;
   ClearHostBits(prefix);
   return prefix;
}

std::string Prefix6::ToString() const
{
   return Format6(address) + "/" + std::to_string(length);
}

std::string Prefix6::GetHost(std::uint64_t host) const
{
   auto result = address;
   for (std::size_t byte = 16; byte > 8; host >>= 8) {
      result[--byte] |= static_cast<std::uint8_t>(host);
   }
   return Format6(result);
}

} // namespace vnet
