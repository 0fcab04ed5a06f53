// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/installation.hh"

#include "base/preference.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace lui::Utils {

namespace {

utf::string DirectoryOf(std::filesystem::path const& file)
{
   return file.parent_path().c_str();
}

} // namespace

utf::string GetBinDir()
{
   std::error_code error;
   std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe", error);
   return error ? utf::string(INSTALLED_BIN_DIR) : DirectoryOf(program);
}

// This code may be part of a program; libtavrinbase.so, which lies beside the others, never is.
utf::string GetLibDir()
{
   Dl_info info{};
   if (dladdr(reinterpret_cast<void*>(&Preference_Init), &info) == 0 || !info.dli_fname) {
      return INSTALLED_LIB_DIR;
   }
   std::error_code error;
   std::filesystem::path const library = std::filesystem::canonical(info.dli_fname, error);
   return error ? utf::string(INSTALLED_LIB_DIR) : DirectoryOf(library);
}

} // namespace lui::Utils
