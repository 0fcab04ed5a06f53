// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/sysctl.hh"

#include "support/testProcess.hh"
#include "vnet/values/error.hh"

#include <filesystem>
#include <gtest/gtest.h>

namespace vnet::host {

namespace {

namespace fs = std::filesystem;

// A folder in the place of /proc/sys/net.
class SysctlTest : public testing::Test {
protected:
   void Make(std::string const& path, std::string const& value)
   {
      fs::create_directories((root.GetPath() / path).parent_path());
      root.Write(path, value);
   }

   test::TempDir root;
   Sysctl sysctl{root.GetPath()};
};

TEST_F(SysctlTest, ADotInADevicesNameIsNoSeparator)
{
   Make("ipv4/conf/eth0.5/arp_ignore", "0\n");
   sysctl.Write("ipv4", "eth0.5", "arp_ignore", "1");
   EXPECT_EQ("1", sysctl.Read("ipv4", "eth0.5", "arp_ignore"));
   EXPECT_EQ("1", test::ReadFile(root.GetPath() / "ipv4/conf/eth0.5/arp_ignore").substr(0, 1));
}

TEST_F(SysctlTest, ASwitchThatIsNotThereReadsAsNone)
{
   EXPECT_FALSE(sysctl.Read("ipv6", "eth0", "disable_ipv6"));
   EXPECT_FALSE(sysctl.ReadGlobal("ipv4/nothing"));
}

TEST_F(SysctlTest, ASwitchThatIsNotThereCannotBeSet)
{
   try {
      sysctl.Write("ipv4", "eth0", "arp_ignore", "1");
      FAIL();
   } catch (Error const& error) {
      EXPECT_STREQ("set ipv4/conf/eth0/arp_ignore to 1: No such file or directory", error.what());
   }
}

TEST_F(SysctlTest, WhatIsSetAlreadyIsNotWritten)
{
   Make("ipv4/ip_forward", "1\n");
   auto const path = root.GetPath() / "ipv4/ip_forward";
   sysctl.WriteGlobal("ipv4/ip_forward", "1");
   EXPECT_EQ("1\n", test::ReadFile(path));
   sysctl.WriteGlobal("ipv4/ip_forward", "0");
   EXPECT_EQ("0\n", test::ReadFile(path));
}

TEST_F(SysctlTest, NamesThatLeadElsewhereAreRefused)
{
   Make("ipv4/secret", "0\n");
   for (auto const* name : {"", ".", "..", "../..", "eth0/../..", "a/b", "0123456789abcdef"}) {
      EXPECT_THROW(sysctl.Write("ipv4", name, "secret", "1"), Error) << name;
      EXPECT_THROW(sysctl.Read("ipv4", name, "secret"), Error) << name;
   }
   EXPECT_EQ("0\n", test::ReadFile(root.GetPath() / "ipv4/secret"));
}

} // namespace

} // namespace vnet::host
