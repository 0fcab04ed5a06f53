// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/values/text.hh"

#include <glib.h>

namespace vnet {

namespace {

constexpr std::size_t maxQuoted = 64;

bool IsPlain(gunichar character)
{
   bool const control = character < 0x20 || (character >= 0x7f && character <= 0x9f);
   return !control && character != 0x2028 && character != 0x2029;
}

void AppendQuoted(std::string& quoted, char character)
{
   static constexpr char digits[] = "0123456789abcdef";
   auto const byte = static_cast<unsigned char>(character);
   if (byte >= 0x20 && byte < 0x7f && character != '"' && character != '\\') {
      quoted += character;
      return;
   }
   quoted += {'\\', 'x', digits[byte >> 4], digits[byte & 0xf]};
}

} // namespace

bool IsPlainText(std::string_view text, std::size_t maxBytes)
{
   if (text.empty()) {
      return true;
   }
   // This refuses a NUL, too.
   if (text.size() > maxBytes || !g_utf8_validate_len(text.data(), text.size(), nullptr)) {
      return false;
   }
   char const* const end = text.data() + text.size();
   for (char const* at = text.data(); at < end; at = g_utf8_next_char(at)) {
      if (!IsPlain(g_utf8_get_char(at))) {
         return false;
      }
   }
   return true;
}

std::string Quote(std::string_view text)
{
   std::string quoted = "\"";
   for (char const character : text.substr(0, maxQuoted)) {
      AppendQuoted(quoted, character);
   }
   return quoted + (text.size() > maxQuoted ? "...\"" : "\"");
}

} // namespace vnet
