// SPDX-License-Identifier: GPL-2.0-or-later
// The units that we install, against the code that counts on them.
#include "base/capabilities.hh"
#include "support/testProcess.hh"

#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace vnet::process {

namespace {

std::string ReadSetting(std::string const& unit, std::string const& key)
{
   std::istringstream lines(test::ReadFile(TEST_BUILD_DIR "/data/systemd/" + unit));
   std::string value;
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(key + "=")) {
         value += line.substr(key.size() + 1);
      }
   }
   return value;
}

base::CapabilitySet ReadCapabilities(std::string const& unit)
{
   std::map<std::string, int> const numbers{
      {"CAP_NET_ADMIN", CAP_NET_ADMIN},  {"CAP_NET_BIND_SERVICE", CAP_NET_BIND_SERVICE},
      {"CAP_NET_RAW", CAP_NET_RAW},      {"CAP_SETUID", CAP_SETUID},
      {"CAP_SETGID", CAP_SETGID},        {"CAP_KILL", CAP_KILL},
      {"CAP_SYS_PTRACE", CAP_SYS_PTRACE}};
   base::CapabilitySet set = 0;
   std::istringstream words(ReadSetting(unit, "CapabilityBoundingSet"));
   for (std::string word; words >> word;) {
      set |= base::MakeCapabilitySet(numbers.at(word));
   }
   return set;
}

TEST(UnitFilesTest, ServicesMayHaveWhatTheyGetFromUs)
{
   EXPECT_EQ(base::SERVICE_CAPABILITIES, ReadCapabilities("tavrin-dhcp@.service"));
}

// The last of them only where processes are hidden.
TEST(UnitFilesTest, ProgramsOfOursMayHaveWhatTheyKeep)
{
   auto const ours = base::OWN_CAPABILITIES | base::MakeCapabilitySet(CAP_SYS_PTRACE);
   EXPECT_EQ(ours, ReadCapabilities("tavrin-vnets.service"));
   EXPECT_EQ(ours, ReadCapabilities("tavrin-watcher.service"));
}

// By its arguments it is known again.
TEST(UnitFilesTest, DnsmasqIsRunAsTheLibraryRunsIt)
{
   EXPECT_EQ("/usr/sbin/dnsmasq --conf-file=/run/tavrin/%i/dnsmasq.conf",
             ReadSetting("tavrin-dhcp@.service", "ExecStart"));
   EXPECT_EQ("/run/tavrin/%i/dnsmasq.pid", ReadSetting("tavrin-dhcp@.service", "PIDFile"));
}

} // namespace

} // namespace vnet::process
