// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/json/text.hh"

#include <nlohmann/json.hpp>

namespace vnet::json {

namespace {

using Writer = nlohmann::ordered_json;

Writer Convert(Value const& value)
{
   switch (value.kind) {
   case Kind::Null:
      return nullptr;
   case Kind::Boolean:
      return value.boolean;
   case Kind::Number:
      return Writer::parse(value.text);
   case Kind::Text:
      return value.text;
   case Kind::List: {
      auto list = Writer::array();
      for (auto const& item : value.items) {
         list.push_back(Convert(item));
      }
      return list;
   }
   case Kind::Object: {
      auto object = Writer::object();
      for (auto const& member : value.members) {
         object[member.name] = Convert(member.value);
      }
      return object;
   }
   }
   return nullptr;
}

// What isn't ASCII and yet no letter: control characters (DEL and C1), separators of lines and
// paragraphs, and marks that turn the direction of what follows. They come as UTF-8.
bool IsActedOn(std::string_view text, std::size_t& length, unsigned int& character)
{
   auto const byte = [&](std::size_t at) {
      return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
   };
   if (byte(0) == 0x7f) {
      length = 1;
      character = 0x7f;
      return true;
   }
   if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) <= 0x9f) {
      length = 2;
      character = byte(1);
      return true;
   }
   length = 3;
   character = 0x2000 + ((byte(1) & 0x3fU) << 6) + (byte(2) & 0x3fU);
   bool const turns =
      (character >= 0x2028 && character <= 0x202e) || (character >= 0x2066 && character <= 0x2069);
   return byte(0) == 0xe2 && (byte(1) == 0x80 || byte(1) == 0x81) && turns;
}

std::string Escape(unsigned int character)
{
   static constexpr char digits[] = "0123456789abcdef";
   std::string escaped = "\\u";
   for (int shift = 12; shift >= 0; shift -= 4) {
      escaped += digits[(character >> shift) & 0xf];
   }
   return escaped;
}

// Outside of its strings JSON is ASCII.
std::string EscapeActedOn(std::string_view text)
{
   std::string escaped;
   while (!text.empty()) {
      std::size_t length = 1;
      unsigned int character = 0;
      if (IsActedOn(text, length, character)) {
         escaped += Escape(character);
      } else {
         length = 1;
         escaped += text[0];
      }
      text.remove_prefix(length);
   }
   return escaped;
}

} // namespace

std::string Write(Value const& value)
{
   auto const text = Convert(value).dump(2, ' ', false, Writer::error_handler_t::replace);
   return EscapeActedOn(text) + "\n";
}

} // namespace vnet::json
