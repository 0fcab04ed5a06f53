// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/confinement.hh"

#include <fstream>

namespace vnet::doctor {

// A line each, as the kernel lists them: "/usr/sbin/dnsmasq (enforce)", or by the profile's own
// name, "dnsmasq (enforce)". Profiles within it follow "//".
bool IsDnsmasqConfined(std::string const& sysRoot)
{
   std::ifstream profiles(sysRoot + "/kernel/security/apparmor/profiles");
   for (std::string line; std::getline(profiles, line);) {
      auto const name = line.substr(0, line.find(" ("));
      if ((name == "dnsmasq" || name.ends_with("/dnsmasq")) && name.find("//") == name.npos &&
          line.ends_with("(enforce)")) {
         return true;
      }
   }
   return false;
}

std::string GetProfileRemedy()
{
   return "printf '%s\\n' '/run/tavrin/** rw,' '/var/lib/tavrin/** rw,' >> "
          "/etc/apparmor.d/local/usr.sbin.dnsmasq && "
          "apparmor_parser -r /etc/apparmor.d/usr.sbin.dnsmasq";
}

} // namespace vnet::doctor
