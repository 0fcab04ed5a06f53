// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/preference.h"

#include "base/config.h"
#include "base/dictionary.h"
#include "base/preferenceFiles.hh"
#include "base/strUtil.h"
#include "base/userDirectory.hh"

#include <array>
#include <glib.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace {

constexpr char const* HOST_FILE = "/etc/tavrin/config";

// What the product can do is settled for the host: client and server must agree on it.
constexpr char const* HOST_KEYS = "feature.";

struct DictionaryFreer {
   void operator()(Dictionary* dict) const { Dictionary_Free(dict); }
};
using OwnedDictionary = std::unique_ptr<Dictionary, DictionaryFreer>;

struct Settings {
   OwnedDictionary host;
   OwnedDictionary user;
};

// Never destroyed: the log asks for its level until the very end of the process.
Settings& Loaded()
{
   static auto& settings = *new Settings;
   return settings;
}

struct Word {
   char const* text;
   bool value;
};
constexpr std::array<Word, 6> WORDS = {
   {{"TRUE", true}, {"yes", true}, {"1", true}, {"FALSE", false}, {"no", false}, {"0", false}}};

} // namespace

namespace base {

bool LoadPreferences(std::string const& hostPath, std::string const& userPath)
{
   Settings fresh = {OwnedDictionary(Dictionary_Create()), OwnedDictionary(Dictionary_Create())};
   bool hostRead = Config_LoadFile(fresh.host.get(), hostPath.c_str());
   bool userRead = userPath.empty() || Config_LoadFile(fresh.user.get(), userPath.c_str());
   Loaded() = std::move(fresh);
   return hostRead && userRead;
}

std::string UserPreferencePath()
{
   std::string directory = UserDirectory("XDG_CONFIG_HOME", ".config");
   return geteuid() == 0 || directory.empty() ? "" : directory + "/tavrin/preferences";
}

} // namespace base

bool Preference_Init(void)
{
   return base::LoadPreferences(HOST_FILE, base::UserPreferencePath());
}

const char* Preference_GetString(const char* fallback, const char* key)
{
   if (!key) {
      return fallback;
   }
   char const* text = Dict_GetString(Loaded().host.get(), fallback, key);
   bool hostOnly = std::string_view(key).starts_with(HOST_KEYS);
   return hostOnly ? text : Dict_GetString(Loaded().user.get(), text, key);
}

bool Preference_GetBool(bool fallback, const char* key)
{
   char const* text = Preference_GetString("", key);
   for (Word const& word : WORDS) {
      if (g_ascii_strcasecmp(text, word.text) == 0) {
         return word.value;
      }
   }
   return fallback;
}

int Preference_GetInt(int fallback, const char* key)
{
   int value = fallback;
   StrUtil_StrToInt(&value, Preference_GetString("", key));
   return value;
}
