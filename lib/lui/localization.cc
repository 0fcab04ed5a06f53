// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/localization.hh"

#include "cui/localString.hh"
#include "lui/installation.hh"

#include <clocale>
#include <filesystem>
#include <system_error>

namespace lui::Utils {

namespace {

// A build tree keeps its catalogues beside its libraries.
std::string FindCatalogues()
{
   std::error_code error;
   std::filesystem::path const lib(GetLibDir().c_str());
   std::filesystem::path const built = lib.parent_path() / "locale";
   return std::filesystem::is_directory(built, error) ? built.string() : INSTALLED_LOCALE_DIR;
}

} // namespace

bool InitLocalization()
{
   bool const isKnown = std::setlocale(LC_ALL, "") != nullptr;
   cui::SetCatalogueDirectory(FindCatalogues().c_str());
   return isKnown;
}

} // namespace lui::Utils
