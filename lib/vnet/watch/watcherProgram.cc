// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/watcherProgram.hh"

#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <optional>
#include <sys/stat.h>

namespace vnet::watch {

namespace {

namespace fs = std::filesystem;

constexpr char name[] = "tavrin-vnets";

fs::path GetOwnProgram()
{
   std::error_code error;
   return fs::read_symlink("/proc/self/exe", error);
}

// The library that holds this code; empty if the program itself does. Not dli_fname: for the
// program that is whatever its starter called it.
std::optional<fs::path> FindOwnLibrary()
{
   static char const here = 0;
   Dl_info info;
   link_map* map = nullptr;
   if (dladdr1(&here, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 || !map ||
       map->l_name[0] == '\0') {
      return {};
   }
   return map->l_name;
}

// A build tree has its libraries one folder below its programs. The program is worth as much trust
// as the library if they have one owner.
std::optional<fs::path> FindBeside(fs::path const& library)
{
   std::error_code error;
   auto const file = fs::canonical(library, error);
   auto const program = file.parent_path().parent_path() / name;
   struct stat ofLibrary;
   struct stat ofProgram;
   if (error || !library.is_absolute() || stat(file.c_str(), &ofLibrary) != 0 ||
       lstat(program.c_str(), &ofProgram) != 0 || !S_ISREG(ofProgram.st_mode) ||
       ofProgram.st_uid != ofLibrary.st_uid) {
      return {};
   }
   return program;
}

} // namespace

std::string FindWatcherProgram()
{
   if (auto const own = GetOwnProgram(); own.filename() == name) {
      return own;
   }
   auto const library = FindOwnLibrary();
   auto const beside = library ? FindBeside(*library) : std::nullopt;
   return beside ? beside->string() : GetInstalledWatcherProgram();
}

std::string GetInstalledWatcherProgram()
{
   return TAVRIN_VNETS_PATH;
}

} // namespace vnet::watch
