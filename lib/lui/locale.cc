// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/locale.hh"

#include <clocale>
#include <cstdlib>
#include <string>

namespace lui::Utils {

namespace {

// What names a locale, the strongest first.
constexpr char const* LOCALE_VARIABLES[] = {"LC_ALL", "LC_MESSAGES", "LANG"};

// Empty if it isn't set.
std::string GetVariable(char const* name)
{
   char const* const value = std::getenv(name);
   return value ? value : "";
}

std::string GetWantedLocale()
{
   for (char const* const name : LOCALE_VARIABLES) {
      std::string const locale = GetVariable(name);
      if (!locale.empty()) {
         return locale;
      }
   }
   return "";
}

// Systems have the locales that somebody asked for when they were installed; catalogues need none
// of them. gettext consults them in every locale but C, and LANGUAGE tells it which.
void FollowLanguageAlone()
{
   std::setlocale(LC_ALL, "C.UTF-8");
   if (GetVariable("LANGUAGE").empty()) {
      setenv("LANGUAGE", GetWantedLocale().c_str(), 1);
   }
}

} // namespace

bool FollowLocale()
{
   bool const isKnown = std::setlocale(LC_ALL, "") != nullptr;
   bool const isUnnamed = GetWantedLocale().empty() && !GetVariable("LANGUAGE").empty();
   if (!isKnown || isUnnamed) {
      FollowLanguageAlone();
   }
   return isKnown;
}

} // namespace lui::Utils
