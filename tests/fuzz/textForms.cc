// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/textForms.hh"

#include <algorithm>
#include <arpa/inet.h>

namespace fuzz {

std::optional<std::uint32_t> ReadAddress(std::string const& text)
{
   in_addr parsed;
   char written[INET_ADDRSTRLEN];
   bool const good = inet_pton(AF_INET, text.c_str(), &parsed) == 1 &&
                     text == inet_ntop(AF_INET, &parsed, written, sizeof written);
   return good ? std::optional(ntohl(parsed.s_addr)) : std::nullopt;
}

std::optional<Bytes16> ReadAddress6(std::string const& text)
{
   in6_addr parsed;
   char written[INET6_ADDRSTRLEN];
   if (inet_pton(AF_INET6, text.c_str(), &parsed) != 1 ||
       text != inet_ntop(AF_INET6, &parsed, written, sizeof written)) {
      return std::nullopt;
   }
   Bytes16 bytes;
   std::copy(std::begin(parsed.s6_addr), std::end(parsed.s6_addr), bytes.begin());
   return bytes;
}

std::optional<std::uint32_t> ReadNumber(std::string const& text)
{
   bool const digits = !text.empty() && text.size() <= 10 &&
                       text.find_first_not_of("0123456789") == std::string::npos;
   if (!digits || (text.size() > 1 && text[0] == '0')) {
      return std::nullopt;
   }
   auto const number = std::stoull(text);
   return number <= UINT32_MAX ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

bool IsNumberTo(std::string const& text, std::uint32_t max)
{
   auto const number = ReadNumber(text);
   return number && *number <= max;
}

bool IsMask(std::string const& text)
{
   auto const mask = ReadAddress(text);
   return mask && (~*mask & (~*mask + 1)) == 0;
}

bool IsDeviceName(std::string const& text)
{
   bool const printable = std::ranges::all_of(
      text, [](char byte) { return byte > ' ' && byte < 0x7f && byte != '/' && byte != ':'; });
   return printable && !text.empty() && text.size() < 16 && text != "." && text != "..";
}

bool ShareBits(Bytes16 const& one, Bytes16 const& other, unsigned int length)
{
   for (unsigned int bit = 0; bit < length; ++bit) {
      if ((one[bit / 8] ^ other[bit / 8]) >> (7 - bit % 8) & 1) {
         return false;
      }
   }
   return true;
}

} // namespace fuzz
