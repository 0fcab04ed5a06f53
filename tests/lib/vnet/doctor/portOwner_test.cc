// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/testProcess.hh"
#include "vnet/doctor/portOwner.hh"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vnet::doctor {

namespace {

namespace fs = std::filesystem;

class PortOwnerTest : public testing::Test {
protected:
   // The unit of a socket whose maker is in that control group.
   std::string FindUnitOf(std::string const& group)
   {
      auto const path = folder.GetPath() / group;
      fs::create_directories(path);
      struct stat status;
      EXPECT_EQ(0, stat(path.c_str(), &status));
      host::Socket socket;
      socket.cgroup = status.st_ino;
      return FindUnit(folder.GetPath(), socket);
   }

   test::TempDir folder;
};

TEST_F(PortOwnerTest, AServicesSocketIsItsUnits)
{
   EXPECT_EQ("named.service", FindUnitOf("system.slice/named.service"));
   EXPECT_EQ("a@b.service", FindUnitOf("system.slice/system-a.slice/a@b.service/deeper"));
}

TEST_F(PortOwnerTest, OtherSocketsHaveNone)
{
   EXPECT_EQ("", FindUnitOf("init.scope"));
   EXPECT_EQ("", FindUnitOf("user.slice/user-1000.slice/user@1000.service/app.slice/x.service"));
   host::Socket socket;
   EXPECT_EQ("", FindUnit(folder.GetPath(), socket));
   socket.cgroup = 1;
   EXPECT_EQ("", FindUnit(folder.GetPath(), socket));
   EXPECT_EQ("", FindUnit("/there/is/none", socket));
}

TEST_F(PortOwnerTest, AUnitIsStoppedAndOthersAreNamed)
{
   host::Socket socket;
   socket.port = 53;
   EXPECT_EQ("systemctl disable --now named.service", GetFreeing("named.service", socket));
   EXPECT_EQ("ss -lnpt 'sport = :53'", GetFreeing("", socket));
   socket.tcp = false;
   EXPECT_EQ("ss -lnpu 'sport = :53'", GetFreeing("", socket));
}

} // namespace

} // namespace vnet::doctor
