// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/localization.hh"

#include "cui/localString.hh"
#include "lui/installation.hh"
#include "lui/locale.hh"

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

} // namespace

void InitCatalogues()
{
   cui::SetCatalogueDirectory(FindCatalogues().c_str());
}

bool InitLocalization()
{
   bool const isKnown = FollowLocale();
   if (gtk_disable_setlocale) {
      gtk_disable_setlocale();
   }
   InitCatalogues();
   return isKnown;
}

} // namespace lui::Utils
