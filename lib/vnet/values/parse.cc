// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/parse.hh"

#include "vnet/values/text.hh"

#include <algorithm>
#include <charconv>

namespace vnet {

namespace {

unsigned int GetFirstByte(Address address)
{
   return address.value >> 24;
}

bool IsDigit(char character)
{
   return character >= '0' && character <= '9';
}

std::optional<std::uint16_t> ParseNumber16(std::string_view text, std::uint32_t min)
{
   auto const number = ParseNumber(text, min, 0xffff);
   return number ? std::optional(static_cast<std::uint16_t>(*number)) : std::nullopt;
}

std::optional<std::string> ParsePlainText(std::string_view text, std::size_t maxBytes)
{
   return IsPlainText(text, maxBytes) ? std::optional(std::string(text)) : std::nullopt;
}

bool IsAdapterCharacter(char character)
{
   return character > ' ' && character < 0x7f && character != '/' && character != ':';
}

} // namespace

std::optional<std::uint32_t> ParseNumber(std::string_view text, std::uint32_t min,
                                         std::uint32_t max)
{
   bool const leadingZero = text.size() > 1 && text[0] == '0';
   if (text.empty() || leadingZero || !std::ranges::all_of(text, IsDigit)) {
      return {};
   }
   std::uint32_t number = 0;
   auto const end = text.data() + text.size();
   if (std::from_chars(text.data(), end, number).ec != std::errc()) {
      return {};
   }
   return number >= min && number <= max ? std::optional(number) : std::nullopt;
}

std::optional<bool> ParseSwitch(std::string_view text)
{
   return text == "1" ? std::optional(true) : text == "0" ? std::optional(false) : std::nullopt;
}

std::optional<Address> ParseSubnetAddress(std::string_view text)
{
   auto const address = Address::Parse(text);
   if (!address || GetFirstByte(*address) == 127 || GetFirstByte(*address) > 223) {
      return {};
   }
   return address;
}

std::optional<Address> ParseMask(std::string_view text)
{
   auto const mask = Address::Parse(text);
   auto const length = mask ? GetPrefixLength(*mask) : std::nullopt;
   return length && *length >= minPrefixLength && *length <= maxPrefixLength ? mask : std::nullopt;
}

std::optional<Address> ParseHostAddress(std::string_view text)
{
   auto const address = ParseSubnetAddress(text);
   return address && GetFirstByte(*address) != 0 ? address : std::nullopt;
}

std::optional<std::uint32_t> ParseMtu(std::string_view text)
{
   return ParseNumber(text, minMtu, maxMtu);
}

std::optional<std::uint16_t> ParsePort(std::string_view text)
{
   return ParseNumber16(text, 1);
}

std::optional<std::uint16_t> ParseConfigPort(std::string_view text)
{
   return ParseNumber16(text, 0);
}

std::optional<std::uint32_t> ParseUdpTimeout(std::string_view text)
{
   return ParseNumber(text, 0, maxUdpTimeout);
}

std::optional<std::uint32_t> ParseLease(std::string_view text)
{
   return ParseNumber(text, 1, maxLease);
}

std::optional<std::string> ParseDisplayName(std::string_view text)
{
   return ParsePlainText(text, maxDisplayName);
}

std::optional<std::string> ParseDescription(std::string_view text)
{
   return ParsePlainText(text, maxDescription);
}

std::optional<std::string> ParseAdapterName(std::string_view text)
{
   bool const known = !text.empty() && text.size() <= maxAdapterName && text != "." && text != "..";
   if (!known || !std::ranges::all_of(text, IsAdapterCharacter)) {
      return {};
   }
   return std::string(text);
}

} // namespace vnet
