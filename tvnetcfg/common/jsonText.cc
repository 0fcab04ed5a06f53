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

bool IsPlain(char c)
{
   return c >= 0x20 && c != '"' && c != '\\' && c != '/';
}

void AppendUnit(std::string& result, unsigned int unit)
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
   static constexpr std::string_view shorts = "\"\\/\b\f\n\r\t";
   static constexpr std::string_view letters = "\"\\/bfnrt";
   auto const found = character < 0x80 ? shorts.find(static_cast<char>(character)) : shorts.npos;
   if (found != shorts.npos) {
      result += '\\';
      result += letters[found];
   } else if (character < 0x10000) {
      AppendUnit(result, character);
   } else {
      unsigned int const offset = character - 0x10000;
      AppendUnit(result, 0xD800 + (offset >> 10));
      AppendUnit(result, 0xDC00 + (offset & 0x3FF));
   }
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

void AppendJsonString(std::string& json, std::string_view text)
{
   json += '"';
   char const* const end = text.data() + text.size();
   for (char const* at = text.data(); at < end;) {
      char const* const plain = at;
      while (at < end && IsPlain(*at)) {
         ++at;
      }
      json.append(plain, at);
      if (at < end) {
         AppendEscaped(json, g_utf8_get_char(at));
         at = g_utf8_next_char(at);
      }
   }
   json += '"';
}

} // namespace netcfg::common
