// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/dictionary.h"

#include <map>
#include <string>

// A map, since its nodes stay where they are: a text that was handed out outlives other changes.
struct Dictionary {
   std::map<std::string, std::string, std::less<>> texts;
};

Dictionary* Dictionary_Create(void)
{
   return new Dictionary;
}

void Dictionary_Free(Dictionary* dict)
{
   delete dict;
}

void Dict_SetString(Dictionary* dict, const char* value, const char* key)
{
   if (!dict || !key) {
      return;
   }
   if (value) {
      // The value may be the very text that it replaces.
      dict->texts[key] = std::string(value);
   } else {
      dict->texts.erase(key);
   }
}

const char* Dict_GetString(const Dictionary* dict, const char* fallback, const char* key)
{
   if (!dict || !key) {
      return fallback;
   }
   auto found = dict->texts.find(std::string_view(key));
   return found == dict->texts.end() ? fallback : found->second.c_str();
}
