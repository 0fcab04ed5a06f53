// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/clientPipe.hh"

#include "base/processes.hh"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <vector>

namespace base {

namespace {

// The components of a path; empty ones and "." lead nowhere.
std::vector<std::string_view> Components(std::string_view path)
{
   std::vector<std::string_view> components;
   while (!path.empty()) {
      size_t end = std::min(path.find('/'), path.size());
      std::string_view component = path.substr(0, end);
      if (!component.empty() && component != ".") {
         components.push_back(component);
      }
      path.remove_prefix(std::min(end + 1, path.size()));
   }
   return components;
}

std::optional<int> ParseNumber(std::string_view text)
{
   int number = 0;
   auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   bool whole = error == std::errc() && end == text.data() + text.size();
   return whole && number >= 0 ? std::optional(number) : std::nullopt;
}

FileDescriptor Refused(int error)
{
   errno = error;
   return {};
}

// True if the descriptor is a pipe without a name, made by user. A named one may be a stranger's
// that the client was able to look up, but not to open.
bool IsPipeOf(FileDescriptor const& file, uid_t user)
{
   struct stat status = {};
   struct statfs system = {};
   return fstat(file.Get(), &status) == 0 && fstatfs(file.Get(), &system) == 0 &&
          S_ISFIFO(status.st_mode) && system.f_type == PIPEFS_MAGIC && status.st_uid == user;
}

// Opens what pinned refers to, which can't change any more. An unnamed pipe opens at once, whether
// or not anyone holds its other end.
FileDescriptor Reopen(FileDescriptor const& pinned, int flags)
{
   std::string path = "/proc/self/fd/" + std::to_string(pinned.Get());
   int mode = flags & (O_ACCMODE | O_NONBLOCK);
   return FileDescriptor(open(path.c_str(), mode | O_CLOEXEC));
}

} // namespace

bool IsDescriptorPath(std::string_view path)
{
   std::vector<std::string_view> components = Components(path);
   if (!path.starts_with('/') || components.empty() || components[0] != "proc") {
      return false;
   }
   for (std::string_view component : components) {
      if (component == "fd") {
         return true;
      }
   }
   return false;
}

std::optional<ClientPipe> ParseClientPipe(std::string_view path)
{
   std::vector<std::string_view> components = Components(path);
   if (components.size() != 4) {
      return std::nullopt;
   }
   std::optional<int> pid = ParseNumber(components[1]);
   std::optional<int> number = ParseNumber(components[3]);
   if (!pid || *pid == 0 || !number) {
      return std::nullopt;
   }
   ClientPipe pipe = {*pid, *number};
   // The comparison refuses whatever else the path holds: leading zeros, empty components.
   bool plain = path == "/proc/" + std::to_string(*pid) + "/fd/" + std::to_string(*number);
   return plain ? std::optional(pipe) : std::nullopt;
}

FileDescriptor OpenClientPipe(ClientPipe const& pipe, int flags)
{
   // All else is done relative to this directory, which stays the one process's even if its number
   // is given to another.
   FileDescriptor directory = OpenProcess(pipe.pid);
   if (!directory.IsOpen()) {
      return {};
   }
   std::optional<ProcessInfo> process = ReadProcess(directory);
   if (!process || !process->alive) {
      return Refused(ESRCH);
   }
   if (!MayLendPipe(*process, {getpid(), getppid(), getuid(), geteuid()}, FindProcess)) {
      return Refused(EACCES);
   }
   std::string name = "fd/" + std::to_string(pipe.number);
   FileDescriptor pinned(openat(directory.Get(), name.c_str(), O_PATH | O_CLOEXEC));
   if (!pinned.IsOpen()) {
      return {};
   }
   return IsPipeOf(pinned, process->user) ? Reopen(pinned, flags) : Refused(EACCES);
}

} // namespace base
