// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/document/wording.hh"

#include "vnet/values/text.hh"

#include <algorithm>
#include <cctype>

namespace vnet::document {

std::string Show(json::Value const& value)
{
   switch (value.kind) {
   case json::Kind::Null:
      return "null";
   case json::Kind::Boolean:
      return value.boolean ? "true" : "false";
   case json::Kind::Number:
      return value.text;
   case json::Kind::Text:
      return Quote(value.text);
   case json::Kind::List:
      return "a list";
   case json::Kind::Object:
      return "an object";
   }
   return "this";
}

std::string JoinPath(std::string const& path, std::string const& name)
{
   // A name may be anything; most are plain words.
   bool const plain = !name.empty() && std::ranges::all_of(name, [](unsigned char character) {
      return std::isalnum(character) != 0 || character == '-' || character == '_';
   });
   auto const part = plain ? name : Quote(name);
   return path.empty() ? part : path + "." + part;
}

} // namespace vnet::document
