// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/helpFiles.hh"

#include "lui/installation.hh"

#include <array>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <glib.h>
#include <system_error>

namespace lui {

namespace {

struct Topic {
   char const* name;
   char const* file;
};

constexpr char CONTENTS[] = "index.html";

constexpr std::array<Topic, 4> TOPICS = {{
   {"IDH_TVNET_LIN_MAIN", "main.html"},
   {"IDH_TVNET_LIN_AUTOBRIDGE", "autobridge.html"},
   {"IDH_TVNET_MAPPORT", "mapport.html"},
   {"IDH_TVNET_NAT", "nat.html"},
}};

// A build tree keeps its pages beside its libraries, as it does with its catalogues.
std::filesystem::path FindPages()
{
   std::error_code error;
   std::filesystem::path const tree =
      std::filesystem::path(Utils::GetLibDir().c_str()).parent_path();
   bool const isBuildTree = std::filesystem::exists(tree / "CMakeCache.txt", error);
   return isBuildTree ? tree / "help" : std::filesystem::path(INSTALLED_HELP_DIR);
}

// In the C locale the program asks no catalogue, whatever languages the user lists besides, and its
// pages are to speak as it does. The languages end with C.
char const* const* GetLanguages()
{
   static char const* const onlyC[] = {"C", nullptr};
   return std::strcmp(std::setlocale(LC_MESSAGES, nullptr), "C") == 0 ? onlyC
                                                                      : g_get_language_names();
}

std::filesystem::path FindPage(char const* file)
{
   for (char const* const* language = GetLanguages(); *language; ++language) {
      std::filesystem::path const page = FindPages() / *language / file;
      std::error_code error;
      if (std::filesystem::exists(page, error)) {
         return page;
      }
   }
   return FindPages() / "C" / file;
}

} // namespace

std::string FindHelpPage(utf::string const& topic)
{
   for (Topic const& known : TOPICS) {
      if (topic == known.name) {
         return FindPage(known.file);
      }
   }
   return "";
}

std::string FindHelpContents(std::string const& file)
{
   return FindLinkedPage(file, CONTENTS);
}

std::string FindLinkedPage(std::string const& file, std::string const& target)
{
   return std::filesystem::path(file).parent_path() / target;
}

} // namespace lui
