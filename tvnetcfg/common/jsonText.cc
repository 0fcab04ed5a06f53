// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/jsonText.hh"

#include <glib.h>

namespace netcfg::common {

namespace {

// The index of the quote that ends the string which the quote at start begins, or the text's size.
std::size_t FindStringEnd(std::string const& json, std::size_t start)
{
   std::size_t at = start + 1;
   while (at < json.size() && json[at] != '"') {
      at += json[at] == '\\' ? 2 : 1;
   }
   return at;
}

void AppendEscape(std::string& result, unsigned int unit)
{
   static char const digits[] = "0123456789ABCDEF";
   result += "\\u";
   for (int shift = 12; shift >= 0; shift -= 4) {
      result += digits[unit >> shift & 0xF];
   }
}

// UTF-16 code units, as JSON has it (RFC 8259, section 7).
void AppendEscaped(std::string& result, gunichar character)
{
   if (character < 0x10000) {
      AppendEscape(result, character);
      return;
   }
   unsigned int const offset = character - 0x10000;
   AppendEscape(result, 0xD800 + (offset >> 10));
   AppendEscape(result, 0xDC00 + (offset & 0x3FF));
}

} // namespace

bool NestsDeeperThan(std::string const& json, unsigned int limit)
{
   unsigned int depth = 0;
   for (std::size_t at = 0; at < json.size(); ++at) {
      char const c = json[at];
      if (c == '"') {
         at = FindStringEnd(json, at);
      } else if (c == '{' || c == '[') {
         if (++depth > limit) {
            return true;
         }
      } else if ((c == '}' || c == ']') && depth > 0) {
         --depth;
      }
   }
   return false;
}

std::string ToAsciiJson(std::string const& json)
{
   std::string result;
   result.reserve(json.size());
   char const* const end = json.data() + json.size();
   for (char const* at = json.data(); at < end; at = g_utf8_next_char(at)) {
      if (static_cast<unsigned char>(*at) < 0x80) {
         result += *at;
      } else {
         AppendEscaped(result, g_utf8_get_char(at));
      }
   }
   return result;
}

} // namespace netcfg::common
