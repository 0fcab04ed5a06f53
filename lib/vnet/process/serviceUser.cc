// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/serviceUser.hh"

#include <cstdint>
#include <fstream>
#include <grp.h>
#include <optional>
#include <pwd.h>
#include <sys/types.h>

namespace vnet::process {

namespace {

// Whether an id of this user namespace stands for one outside: user_namespaces(7).
bool IsMapped(char const* map, std::uint64_t id)
{
   std::ifstream lines(map);
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
   std::string allowed;
   std::ifstream("/proc/self/setgroups") >> allowed;
   return allowed != "deny";
}

std::optional<ServiceUser> Find(std::string const& name)
{
   auto const* user = getpwnam(name.c_str());
   if (!user || !IsMapped("/proc/self/uid_map", user->pw_uid) ||
       !IsMapped("/proc/self/gid_map", user->pw_gid)) {
      return {};
   }
   auto const* group = getgrgid(user->pw_gid);
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
