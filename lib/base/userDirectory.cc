// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/userDirectory.hh"

#include <cstdlib>
#include <pwd.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace base {

namespace {

bool IsAbsolute(char const* path)
{
   return path && path[0] == '/';
}

std::string AccountHome()
{
   std::vector<char> buffer(16384);
   passwd entry = {};
   passwd* found = nullptr;
   getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
   return found && IsAbsolute(found->pw_dir) ? found->pw_dir : "";
}

std::string Home()
{
   char const* home = getenv("HOME");
   return IsAbsolute(home) ? home : AccountHome();
}

} // namespace

std::string UserDirectory(char const* variable, char const* belowHome)
{
   char const* value = getenv(variable);
   if (IsAbsolute(value)) {
      return value;
   }
   std::string home = Home();
   return home.empty() ? home : home + '/' + belowHome;
}

} // namespace base
