// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/groups.hh"

#include "vnet/values/parse.hh"
#include "vnet/values/settings.hh"

namespace vnet {

namespace {

constexpr std::string_view forwardWord = " forward ";
constexpr std::string_view adapterWord = "adapter ";

struct Escape {
   char character;
   std::string_view written;
};
constexpr Escape escapes[] = {{'[', "%5b"}, {']', "%5d"}, {'%', "%25"}};

std::string EscapeName(std::string_view name)
{
   std::string escaped;
   for (char const character : name) {
      std::string written(1, character);
      for (auto const& escape : escapes) {
         written = escape.character == character ? escape.written : written;
      }
      escaped += written;
   }
   return escaped;
}

std::string UnescapeName(std::string_view escaped)
{
   std::string name;
   while (!escaped.empty()) {
      char character = escaped[0];
      std::size_t length = 1;
      for (auto const& escape : escapes) {
         if (escaped.starts_with(escape.written)) {
            character = escape.character;
            length = escape.written.size();
         }
      }
      name += character;
      escaped.remove_prefix(length);
   }
   return name;
}

} // namespace

std::string GetForwardGroup(ForwardKey const& key)
{
   return GetNetworkName(key.network) + std::string(forwardWord) + (key.tcp ? "tcp " : "udp ") +
          std::to_string(key.hostPort);
}

std::optional<ForwardKey> ParseForwardGroup(std::string_view group)
{
   auto const word = group.find(forwardWord);
   if (word == std::string_view::npos) {
      return {};
   }
   auto const network = ParseNetworkName(group.substr(0, word));
   auto const rest = group.substr(word + forwardWord.size());
   bool const tcp = rest.starts_with("tcp ");
   if (!network || (!tcp && !rest.starts_with("udp "))) {
      return {};
   }
   auto const port = ParsePort(rest.substr(4));
   return port ? std::optional(ForwardKey{*network, tcp, *port}) : std::nullopt;
}

std::string GetAdapterGroup(std::string_view name)
{
   return std::string(adapterWord) + EscapeName(name);
}

std::optional<std::string> ParseAdapterGroup(std::string_view group)
{
   if (!group.starts_with(adapterWord)) {
      return {};
   }
   auto const name = UnescapeName(group.substr(adapterWord.size()));
   return GetAdapterGroup(name) == group ? ParseAdapterName(name) : std::nullopt;
}

} // namespace vnet
