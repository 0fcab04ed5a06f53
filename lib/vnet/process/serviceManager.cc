// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/serviceManager.hh"

#include "vnet/process/runningProcess.hh"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vnet::process {

namespace {

namespace fs = std::filesystem;

std::string ReadText(std::string const& path)
{
   std::ostringstream text;
   text << std::ifstream(path).rdbuf();
   return text.str();
}

// A line of mountinfo: proc_pid_mountinfo(5).
struct Mount {
   int id = 0;
   int parent = 0;
   std::string device;
   std::string root;  // the folder of the file system that is mounted
   std::string place; // where
};

std::vector<Mount> ParseMounts(std::string_view text)
{
   std::vector<Mount> mounts;
   std::istringstream lines{std::string(text)};
   for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      Mount mount;
      if (words >> mount.id >> mount.parent >> mount.device >> mount.root >> mount.place) {
         mounts.push_back(mount);
      }
   }
   return mounts;
}

std::string WithSlash(std::string const& path)
{
   return path.ends_with('/') ? path : path + "/";
}

bool IsWithin(std::string const& path, std::string const& folder)
{
   return WithSlash(path).starts_with(WithSlash(folder));
}

// The mount whose parent isn't among them, as the kernel shows what a process can see.
Mount const* FindRoot(std::vector<Mount> const& mounts)
{
   auto const found = std::ranges::find_if(mounts, [&](Mount const& mount) {
      return mount.place == "/" && std::ranges::none_of(mounts, [&](Mount const& other) {
                return other.id == mount.parent && other.id != mount.id;
             });
   });
   return found == mounts.end() ? nullptr : &*found;
}

// The first on the way from `mount` down to the path; what lies beyond it can't be seen.
Mount const* FindNext(std::vector<Mount> const& mounts, Mount const& mount, std::string const& path)
{
   Mount const* next = nullptr;
   for (auto const& other : mounts) {
      bool const onTheWay =
         other.parent == mount.id && other.id != mount.id && IsWithin(path, other.place);
      if (onTheWay && (!next || other.place.size() < next->place.size())) {
         next = &other;
      }
   }
   return next;
}

std::string GetFolder(Mount const& mount, std::string const& path)
{
   auto const rest = WithSlash(path).substr(WithSlash(mount.place).size());
   auto const folder = (fs::path(mount.root) / rest).lexically_normal().string();
   return folder.size() > 1 && folder.ends_with('/') ? folder.substr(0, folder.size() - 1) : folder;
}

} // namespace

std::optional<std::string> LocateFolder(std::string_view mounts, std::string const& path)
{
   auto const all = ParseMounts(mounts);
   Mount const* mount = nullptr;
   // No longer than there are mounts, whatever the text says.
   std::size_t steps = 0;
   for (auto const* next = FindRoot(all); next && steps <= all.size(); ++steps) {
      mount = next;
      next = FindNext(all, *mount, path);
   }
   return mount ? std::optional(mount->device + " " + GetFolder(*mount, path)) : std::nullopt;
}

std::optional<std::string> FindManagerObstacle(std::vector<std::string> const& folders,
                                               ManagerPlace const& place)
{
   std::error_code none;
   if (!fs::is_directory(fs::symlink_status(place.bootedFolder, none))) {
      return "none runs";
   }
   auto const process = FindProcess(place.process);
   auto const ofProcess = "/proc/" + std::to_string(place.process);
   if (!process || ReadText(ofProcess + "/comm") != place.program + "\n") {
      return "it isn't the first process";
   }
   if (!process->sameNetwork.value_or(false)) {
      return "it is in another network";
   }
   auto const theirs = ReadText(ofProcess + "/mountinfo");
   auto const ours = ReadText("/proc/thread-self/mountinfo");
   for (auto const& folder : folders) {
      auto const known = LocateFolder(theirs, folder);
      if (!known || known != LocateFolder(ours, folder)) {
         return "it has another " + folder;
      }
   }
   return {};
}

} // namespace vnet::process
