// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/watch/announcer.hh"

#include <gtest/gtest.h>

namespace vnet::watch {

namespace {

using std::chrono::milliseconds;

class AnnouncerTest : public testing::Test {
protected:
   Clock::time_point const begin{std::chrono::seconds(1000)};
   std::set<std::string> const one{"eth0"};
   std::set<std::string> const none;
   Announcer announcer;
};

TEST_F(AnnouncerTest, WithoutAnAdapterNothingIsDue)
{
   EXPECT_FALSE(announcer.GetDue());
   EXPECT_EQ(none, announcer.TakeDue(begin));
}

TEST_F(AnnouncerTest, AnAdapterIsDueAtOnceAndTwiceMore)
{
   announcer.Schedule("eth0", begin);
   EXPECT_EQ(begin, announcer.GetDue());
   EXPECT_EQ(one, announcer.TakeDue(begin));
   EXPECT_EQ(none, announcer.TakeDue(begin + milliseconds(199)));
   EXPECT_EQ(begin + milliseconds(200), announcer.GetDue());
   EXPECT_EQ(one, announcer.TakeDue(begin + milliseconds(200)));
   EXPECT_EQ(one, announcer.TakeDue(begin + milliseconds(1000)));
   EXPECT_FALSE(announcer.GetDue());
}

TEST_F(AnnouncerTest, WhatWasMissedIsSaidOnce)
{
   announcer.Schedule("eth0", begin);
   EXPECT_EQ(one, announcer.TakeDue(begin + milliseconds(5000)));
   EXPECT_FALSE(announcer.GetDue());
}

TEST_F(AnnouncerTest, AnotherScheduleReplacesTheFirst)
{
   announcer.Schedule("eth0", begin);
   announcer.Schedule("eth0", begin + milliseconds(100));
   EXPECT_EQ(none, announcer.TakeDue(begin));
   EXPECT_EQ(one, announcer.TakeDue(begin + milliseconds(100)));
   EXPECT_EQ(none, announcer.TakeDue(begin + milliseconds(200)));
   EXPECT_EQ(one, announcer.TakeDue(begin + milliseconds(300)));
}

TEST_F(AnnouncerTest, AdaptersDoNotDisturbEachOther)
{
   announcer.Schedule("eth0", begin);
   announcer.Schedule("eth1", begin);
   EXPECT_EQ((std::set<std::string>{"eth0", "eth1"}), announcer.TakeDue(begin));
}

} // namespace

} // namespace vnet::watch
