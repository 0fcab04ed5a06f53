// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/hiddenProcesses.hh"

#include <algorithm>
#include <sstream>
#include <string>

namespace base {

namespace {

constexpr std::string_view OPTION = "hidepid=";

bool Hides(std::string_view options)
{
   std::size_t const start = options.find(OPTION);
   if (start == options.npos) {
      return false;
   }
   std::string_view const value = options.substr(start + OPTION.size());
   return !value.starts_with("0") && !value.starts_with("off");
}

} // namespace

bool HidesProcesses(std::string_view mounts)
{
   bool hides = false;
   std::istringstream lines{std::string(mounts)};
   for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string id, parent, device, root, place;
      words >> id >> parent >> device >> root >> place;
      // Behind " - " come the file system's own options. The last one mounted there counts.
      if (place == "/proc") {
         hides = Hides(line.substr(std::min(line.find(" - "), line.size())));
      }
   }
   return hides;
}

} // namespace base
