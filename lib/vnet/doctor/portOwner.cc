// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/portOwner.hh"

#include "vnet/doctor/shellWord.hh"

#include <filesystem>
#include <sys/stat.h>

namespace vnet::doctor {

namespace fs = std::filesystem;

namespace {

bool HasNumber(fs::path const& folder, std::uint64_t number)
{
   struct stat status;
   return lstat(folder.c_str(), &status) == 0 && status.st_ino == number;
}

// Empty if there is none.
fs::path FindFolder(fs::path const& root, std::uint64_t number)
{
   std::error_code ignored;
   auto const skip = fs::directory_options::skip_permission_denied;
   for (fs::recursive_directory_iterator at(root, skip, ignored), end; at != end;
        at.increment(ignored)) {
      if (at->is_directory(ignored) && HasNumber(at->path(), number)) {
         return at->path();
      }
   }
   return {};
}

} // namespace

std::string FindUnit(std::string const& cgroupRoot, host::Socket const& socket)
{
   auto const folder = socket.cgroup == 0 ? fs::path() : FindFolder(cgroupRoot, socket.cgroup);
   std::string unit;
   for (auto const& part : folder.lexically_relative(cgroupRoot)) {
      if (part == "user.slice") {
         return {};
      }
      unit = part.extension() == ".service" ? part.string() : unit;
   }
   return unit;
}

std::string GetFreeing(std::string const& unit, host::Socket const& socket)
{
   if (!unit.empty()) {
      return "systemctl disable --now " + MakeShellWord(unit);
   }
   return std::string("ss -lnp") + (socket.tcp ? "t" : "u") +
          " 'sport = :" + std::to_string(socket.port) + "'";
}

} // namespace vnet::doctor
