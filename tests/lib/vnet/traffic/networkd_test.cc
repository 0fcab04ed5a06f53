// SPDX-License-Identifier: GPL-2.0-or-later
// A real systemd-networkd that would like to manage everything.
#include "lib/vnet/watch/watchTest.hh"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <pwd.h>
#include <sstream>
#include <unistd.h>

namespace vnet::watch {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr char program[] = "/lib/systemd/systemd-networkd";
constexpr char stateFolder[] = "/run/systemd/netif";

class NetworkdTest : public WatchTest {
protected:
   // Why it can't run here; empty if it can. It becomes a user of its own.
   static std::string GetProblem()
   {
      auto const* user = getpwnam("systemd-network");
      if (access(program, X_OK) < 0 || !user) {
         return "no systemd-networkd here";
      }
      for (auto const* name : {"", "/links", "/leases", "/lldp"}) {
         auto const folder = std::string(stateFolder) + name;
         fs::create_directories(folder);
         if (chown(folder.c_str(), user->pw_uid, user->pw_gid) < 0) {
            return "no other users here";
         }
      }
      return {};
   }

   // Its files, those of an administrator who wants all devices managed, and ours.
   static void WriteFiles()
   {
      fs::create_directories("/run/systemd/network");
      std::ofstream("/run/systemd/network/50-all.network")
         << "[Match]\nName=*\n\n[Network]\nDHCP=yes\nLinkLocalAddressing=ipv6\n";
      fs::copy_file(DATA_DIR "/networkd.network", "/run/systemd/network/05-tavrin.network");
   }

   static std::string ReadState(std::string const& device)
   {
      return test::ReadFile(std::string(stateFolder) + "/links/" +
                            std::to_string(if_nametoindex(device.c_str())));
   }

   static bool Reaches(std::string const& device, std::string const& state)
   {
      return test::Eventually([&] {
         return ReadState(device).find("ADMIN_STATE=" + state + "\n") != std::string::npos;
      });
   }

   // Not of IPv6, where the kernel adds addresses of its own when a carrier comes.
   std::string DescribeOurs()
   {
      std::istringstream lines(GetHost().Command("ip -4 -o addr show") +
                               GetHost().Command("ip -4 route show table all"));
      std::string ours;
      for (std::string line; std::getline(lines, line);) {
         ours += line.find("tvnet") != std::string::npos ? line + "\n" : "";
      }
      return ours;
   }

   void TearDown() override
   {
      fs::remove_all("/run/systemd");
      WatchTest::TearDown();
   }
};

TEST_F(NetworkdTest, ItLeavesOurDevicesAloneAndTakesOthers)
{
   if (auto const reason = GetProblem(); !reason.empty()) {
      GTEST_SKIP() << reason;
   }
   WriteFiles();
   // Where /sys can't be written it doesn't wait for udev. The next test gets another /sys.
   GetHost().Command("mount -o remount,ro,bind /sys");
   WriteDatabase(GetAutomatic({"eth1"}) + GetHosted());
   RunWell({"start"});
   auto const before = DescribeOurs();
   test::TestProcess daemon({program});
   // The first of them shows that it is at work.
   ASSERT_TRUE(Reaches("eth2", "configuring")) << daemon.GetOutput();
   for (auto const& entry : fs::directory_iterator("/sys/class/net")) {
      auto const name = entry.path().filename().string();
      if (name.starts_with("tv")) {
         EXPECT_TRUE(Reaches(name, "unmanaged")) << name << "\n" << ReadState(name);
      }
   }
   EXPECT_TRUE(HasLink("tvnet0") && HasLink("tvnet1") && HasLink("tvnet8"));
   EXPECT_EQ(before, DescribeOurs());
   EXPECT_THAT(GetJoined(), HasSubstr("eth1:tvnet0"));
   RunWell({"restart"});
   EXPECT_TRUE(Reaches("tvnet8", "unmanaged")) << ReadState("tvnet8");
   EXPECT_EQ(std::string::npos, RunWell({"status"}).find("differs"));
   daemon.Signal(SIGTERM);
   EXPECT_TRUE(daemon.Wait());
}

} // namespace

} // namespace vnet::watch
