// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/localization.hh"

#include "cui/localString.hh"
#include "lui/installation.hh"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

// GTK's, where the process has it: the server has none.
extern "C" [[gnu::weak]] void gtk_disable_setlocale();

namespace lui::Utils {

namespace {

// A build tree keeps its catalogues beside its libraries. A folder of that name alone proves no
// build tree: /usr/lib has one too.
std::string FindCatalogues()
{
   std::error_code error;
   std::filesystem::path const tree = std::filesystem::path(GetLibDir().c_str()).parent_path();
   bool const isBuildTree = std::filesystem::exists(tree / "CMakeCache.txt", error);
   return isBuildTree ? (tree / "locale").string() : INSTALLED_LOCALE_DIR;
}

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
   if (gtk_disable_setlocale) {
      gtk_disable_setlocale();
   }
   std::setlocale(LC_ALL, "C.UTF-8");
   if (GetVariable("LANGUAGE").empty()) {
      setenv("LANGUAGE", GetWantedLocale().c_str(), 1);
   }
}

} // namespace

bool InitLocalization()
{
   bool const isKnown = std::setlocale(LC_ALL, "") != nullptr;
   bool const isUnnamed = GetWantedLocale().empty() && !GetVariable("LANGUAGE").empty();
   if (!isKnown || isUnnamed) {
      FollowLanguageAlone();
   }
   cui::SetCatalogueDirectory(FindCatalogues().c_str());
   return isKnown;
}

} // namespace lui::Utils
