// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/serviceUser.hh"

#include "base/fileDescriptor.hh"
#include "vnet/values/error.hh"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <sys/types.h>

namespace vnet::process {

namespace {

// A file below /proc/self; empty if this kernel has no such thing.
std::string ReadAboutUs(char const* path)
{
   base::FileDescriptor const file(open(path, O_RDONLY | O_CLOEXEC));
   if (!file.IsOpen() && errno == ENOENT) {
      return {};
   }
   // The kernel gives at most a page.
   std::array<char, 4096> text;
   ssize_t got = -1;
   do {
      got = file.IsOpen() ? read(file.Get(), text.data(), text.size()) : -1;
   } while (file.IsOpen() && got < 0 && errno == EINTR);
   if (got < 0) {
      throw Error("read", path, std::strerror(errno));
   }
   return {text.data(), static_cast<std::size_t>(got)};
}

// Whether an id of this user namespace stands for one outside: user_namespaces(7).
bool IsMapped(char const* map, std::uint64_t id)
{
   std::istringstream lines(ReadAboutUs(map));
   std::uint64_t inside = 0;
   std::uint64_t outside = 0;
   std::uint64_t count = 0;
   while (lines >> inside >> outside >> count) {
      if (id >= inside && id - inside < count) {
         return true;
      }
   }
   return false;
}

// dnsmasq gives its supplementary groups up, which a namespace may forbid.
bool MaySetGroups()
{
   return ReadAboutUs("/proc/self/setgroups") != "deny\n";
}

// An account that can't be looked up isn't one that isn't there, for which a service would get more
// rights: getpwnam(3).
void RequireAnswer(std::string const& account)
{
   for (int const cause : {EINTR, EIO, EMFILE, ENFILE, ENOMEM}) {
      if (errno == cause) {
         throw Error("look up", account, std::strerror(cause));
      }
   }
}

std::optional<ServiceUser> Find(std::string const& name)
{
   errno = 0;
   auto const* user = getpwnam(name.c_str());
   RequireAnswer(name);
   if (!user || !IsMapped("/proc/self/uid_map", user->pw_uid) ||
       !IsMapped("/proc/self/gid_map", user->pw_gid)) {
      return {};
   }
   errno = 0;
   auto const* group = getgrgid(user->pw_gid);
   RequireAnswer("the group of " + name);
   return group ? std::optional(ServiceUser{name, group->gr_name}) : std::nullopt;
}

} // namespace

ServiceUser FindServiceUser(std::vector<std::string> const& candidates)
{
   for (auto const& candidate : candidates) {
      auto const found = MaySetGroups() ? Find(candidate) : std::nullopt;
      if (found) {
         return *found;
      }
   }
   return {"root", ""};
}

} // namespace vnet::process
