// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/localization.hh"

#include "cui/localString.hh"
#include "lui/installation.hh"

#include <clocale>
#include <filesystem>
#include <system_error>

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

bool InitLocalization()
{
   bool const isKnown = std::setlocale(LC_ALL, "") != nullptr;
   cui::SetCatalogueDirectory(FindCatalogues().c_str());
   return isKnown;
}

} // namespace lui::Utils
