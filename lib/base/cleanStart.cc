// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/cleanStart.hh"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/close_range.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace base {

namespace {

constexpr char const* PATH = "/usr/sbin:/usr/bin:/sbin:/bin";

constexpr std::array<std::string_view, 2> LANGUAGE_NAMES = {"LANG", "LANGUAGE"};

// What a list of locales is written with: "de_DE.UTF-8@euro:en". A slash would make a path of it.
constexpr std::string_view LANGUAGE_CHARACTERS = "0123456789"
                                                 "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                 "abcdefghijklmnopqrstuvwxyz"
                                                 "._-@:";

bool IsLanguageName(std::string_view name)
{
   return name.starts_with("LC_") || std::ranges::count(LANGUAGE_NAMES, name) > 0;
}

// Whatever reads the process's memory, as /proc/<pid>/environ does, finds no more there than the
// process itself. The starter's variables lie one behind the other.
void WipeEnvironment()
{
   char* next = environ ? *environ : nullptr;
   for (char** variable = environ; variable && *variable && *variable == next; ++variable) {
      std::size_t const size = std::strlen(*variable);
      explicit_bzero(*variable, size);
      next = *variable + size + 1;
   }
}

} // namespace

bool IsHarmlessVariable(std::string_view variable)
{
   std::size_t const end = variable.find('=');
   return end != variable.npos && IsLanguageName(variable.substr(0, end)) &&
          variable.find_first_not_of(LANGUAGE_CHARACTERS, end + 1) == variable.npos &&
          variable.find("..", end) == variable.npos;
}

void CleanEnvironment()
{
   std::vector<std::string> kept;
   for (char** variable = environ; variable && *variable; ++variable) {
      if (IsHarmlessVariable(*variable)) {
         kept.emplace_back(*variable);
      }
   }
   WipeEnvironment();
   clearenv();
   for (std::string const& variable : kept) {
      std::size_t const end = variable.find('=');
      setenv(variable.substr(0, end).c_str(), variable.c_str() + end + 1, 1);
   }
   setenv("PATH", PATH, 1);
}

void CleanDescriptors()
{
   int opened = 0;
   while (opened >= 0 && opened <= STDERR_FILENO) {
      opened = open("/dev/null", O_RDWR | O_CLOEXEC);
      // One of the first three is meant to be inherited.
      if (opened >= 0 && opened <= STDERR_FILENO) {
         fcntl(opened, F_SETFD, 0);
      }
   }
   if (opened >= 0) {
      close(opened);
   }
   close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
}

} // namespace base
