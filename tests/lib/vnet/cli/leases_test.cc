// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/testProcess.hh"
#include "vnet/cli/leases.hh"
#include "vnet/json/text.hh"
#include "vnet/values/error.hh"

#include <filesystem>
#include <gtest/gtest.h>

namespace vnet::cli {

namespace {

constexpr std::time_t now = 1700000000;

// As dnsmasq writes it.
constexpr char file[] = "1700001800 52:54:00:aa:bb:cc 192.168.8.128 box 01:52:54:00:aa:bb:cc\n"
                        "1699999999 52:54:00:aa:bb:cd 192.168.8.129 * *\n"
                        "0 06-52:54:00:aa:bb:ce 192.168.8.130 for-ever *\n"
                        "duid 00:01:00:01:2c:00\n"
                        "1700200000 123456 fd15::80 box 00:01:00:01\n";

TEST(LeasesTest, LinesOfBothFamiliesAreRead)
{
   auto const leases = ParseLeases(file, now);
   ASSERT_EQ(4u, leases.size());
   EXPECT_EQ("192.168.8.128, 52:54:00:aa:bb:cc, box, 30 min left", DescribeLease(leases[0]));
   EXPECT_EQ("192.168.8.129, 52:54:00:aa:bb:cd, ran out", DescribeLease(leases[1]));
   EXPECT_EQ("192.168.8.130, 06-52:54:00:aa:bb:ce, for-ever, endless", DescribeLease(leases[2]));
   EXPECT_EQ("fd15::80, box, 2 days left", DescribeLease(leases[3]));
}

TEST(LeasesTest, WhatIsNoLeaseIsLeftOut)
{
   EXPECT_TRUE(ParseLeases("", now).empty());
   for (auto const* line : {"x 52:54:00:aa:bb:cc 192.168.8.128 box *", "1 2", "\n\n",
                            "-5 a 10.0.0.1 b", "5 52:54:00:aa:bb:cc 192.168.8.999 box *",
                            "99999999999999999999 52:54:00:aa:bb:cc 192.168.8.1 box *"}) {
      EXPECT_TRUE(ParseLeases(line, now).empty()) << line;
   }
}

TEST(LeasesTest, NamesOfGuestsReachNoTerminalAsTheyAre)
{
   auto const leases = ParseLeases("0 \x1b]0;x\a 10.0.0.1 a\x1b[31m\xc2\x9b\x7f\xff *\n", now);
   ASSERT_EQ(1u, leases.size());
   EXPECT_EQ("", leases[0].mac);
   EXPECT_EQ("10.0.0.1, a\\x1b[31m\\xc2\\x9b\\x7f\\xff, endless", DescribeLease(leases[0]));
   EXPECT_EQ("NETWORK  ADDRESS   MAC  LEFT     NAME\n"
             "tvnet8   10.0.0.1  -    endless  a\\x1b[31m\\xc2\\x9b\\x7f\\xff\n",
             DescribeLeases({{8, leases}}));
   auto const json = json::Write(MakeLeases(leases));
   EXPECT_NE(std::string::npos, json.find("\"a\\u001b[31m\\u009b\\u007f\xef\xbf\xbd\"")) << json;
}

TEST(LeasesTest, ANetworkWithoutAFileHasNone)
{
   test::TempDir const folder;
   EXPECT_TRUE(ReadLeases(folder.GetPath(), 8, now).empty());
   folder.Write("tvnet8/dnsmasq.leases", file);
   EXPECT_EQ(4u, ReadLeases(folder.GetPath(), 8, now).size());
   EXPECT_TRUE(ReadLeases(folder.GetPath(), 9, now).empty());
}

// dnsmasq isn't root, and owns that folder.
TEST(LeasesTest, LinksAreNotFollowed)
{
   test::TempDir const folder;
   folder.Write("secret", file);
   folder.Write("tvnet8/other", "");
   std::filesystem::create_symlink(folder.GetPath() / "secret",
                                   folder.GetPath() / "tvnet8/dnsmasq.leases");
   EXPECT_THROW(ReadLeases(folder.GetPath(), 8, now), Error);
}

} // namespace

} // namespace vnet::cli
