// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/document/sampleSettings.hh"
#include "vnet/document/judge.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vnet::document {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> GetProblems(void (*change)(Settings& settings))
{
   auto settings = MakeSampleSettings();
   change(settings);
   return Judge(settings).problems;
}

TEST(JudgeTest, GoodSettingsHaveNoProblem)
{
   auto const judgement = Judge(MakeSampleSettings());
   EXPECT_THAT(judgement.problems, IsEmpty());
   EXPECT_THAT(judgement.notes, IsEmpty());
   EXPECT_THAT(Judge({}).problems, IsEmpty());
}

TEST(JudgeTest, ASubnetAndItsMaskBelongTogether)
{
   EXPECT_THAT(GetProblems([](Settings& s) { s.networks[1].subnetMask = {}; }),
               ElementsAre("tvnet1: Its subnet has no mask"));
   EXPECT_THAT(GetProblems([](Settings& s) { s.networks[1].subnetAddress = {}; }),
               ElementsAre("tvnet1: It has a mask and no subnet"));
   EXPECT_THAT(
      GetProblems([](Settings& s) { s.networks[1].subnetAddress = Address::Parse("192.168.1.5"); }),
      ElementsAre("tvnet1: Its subnet 192.168.1.5 isn't the beginning of one with the "
                  "mask 255.255.255.0"));
}

TEST(JudgeTest, ServicesNeedASubnet)
{
   EXPECT_THAT(GetProblems([](Settings& s) { s.networks[4].useNat = true; }),
               ElementsAre("tvnet4: It has no subnet, and needs one for its adapter, DHCP or NAT"));
}

TEST(JudgeTest, SubnetsMayNotOverlap)
{
   EXPECT_THAT(GetProblems([](Settings& s) {
                  s.networks[1].subnetAddress = Address::Parse("192.168.0.0");
                  s.networks[1].subnetMask = Address::Parse("255.255.0.0");
               }),
               ElementsAre("tvnet8: Its subnet 192.168.8.0/24 overlaps 192.168.0.0/16 of tvnet1"));
}

TEST(JudgeTest, AHostedNetworkIsBridgedToNothing)
{
   EXPECT_THAT(GetProblems([](Settings& s) {
                  s.automatic = 1;
                  s.adapters["eth5"] = 8;
               }),
               ElementsAre("tvnet1: It bridges automatically, and has a subnet of its own",
                           "tvnet8: eth5 is bridged to it, and it has a subnet of its own"));
}

TEST(JudgeTest, WhatHasNoEffectIsNoted)
{
   auto settings = MakeSampleSettings();
   settings.networks[8].dhcp.rangeEnd = Address::Parse("192.168.9.9");
   settings.networks[1].nat.forwards = {{true, 7, *Address::Parse("192.168.1.9"), 7, ""}};
   settings.networks[9] = settings.networks[8];
   settings.networks[9].subnetAddress = Address::Parse("192.168.9.0");
   auto const judgement = Judge(settings);
   EXPECT_THAT(judgement.problems, IsEmpty());
   EXPECT_THAT(judgement.notes,
               testing::IsSupersetOf(
                  {"forward TCP port 7 to tvnet1: it has no NAT",
                   "forward TCP port 80 to tvnet9: another network's forward has the port",
                   "lease the range set for tvnet8: it is no range of 192.168.8.0/24"}));
}

} // namespace

} // namespace vnet::document
