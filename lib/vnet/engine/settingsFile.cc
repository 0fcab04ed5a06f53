// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/settingsFile.hh"

#include "base/config.h"
#include "base/dictionary.h"
#include "vnet/values/parse.hh"

#include <memory>
#include <sstream>

namespace vnet::engine {

namespace {

std::vector<std::string> Split(char const* text)
{
   std::istringstream stream(text);
   std::vector<std::string> words;
   for (std::string word; stream >> word;) {
      words.push_back(word);
   }
   return words;
}

} // namespace

HostSettings ReadHostSettings(std::string const& path)
{
   std::unique_ptr<Dictionary, void (*)(Dictionary*)> const dictionary(Dictionary_Create(),
                                                                       Dictionary_Free);
   Config_LoadFile(dictionary.get(), path.c_str());
   HostSettings settings;
   for (auto const& word : Split(Dict_GetString(dictionary.get(), "", "host.adapters"))) {
      if (auto const name = ParseAdapterName(word)) {
         settings.adapters.push_back(*name);
      }
   }
   settings.ouis = Split(Dict_GetString(dictionary.get(), "", "nat.ouis"));
   return settings;
}

} // namespace vnet::engine
