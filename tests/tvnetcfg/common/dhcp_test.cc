// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/dhcp.hh"

#include "tvnetcfg/common/editable.hh"
#include "tvnetcfg/common/listener.hh"

#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

class DHCPTest : public testing::Test {
protected:
   Editable editable{20};
   Network& network = *editable.AddNetwork(Network::HostOnly, 1, false, OnDone());
   DHCP& dhcp = *network.GetDHCP();
};

void ExpectTime(unsigned int days, unsigned int hours, unsigned int minutes, unsigned int seconds)
{
   DHCP::LeaseTime const time = DHCP::SecToLeaseTime(seconds);
   EXPECT_EQ(days, time.days) << seconds;
   EXPECT_EQ(hours, time.hours) << seconds;
   EXPECT_EQ(minutes, time.minutes) << seconds;
}

} // namespace

TEST_F(DHCPTest, ANewObjectHasItsDefaults)
{
   EXPECT_EQ(1800u, dhcp.GetDefaultLeaseTime());
   EXPECT_EQ(7200u, dhcp.GetMaxLeaseTime());
   EXPECT_TRUE(dhcp.GetBeginIP().empty());
   EXPECT_TRUE(dhcp.GetEndIP().empty());
   EXPECT_EQ(&network, dhcp.GetNetwork());
}

TEST_F(DHCPTest, NoSecondsAreNoTime)
{
   ExpectTime(0, 0, 0, 0);
}

TEST_F(DHCPTest, TheDefaultLeaseTimesAreHalfAnHourAndTwoHours)
{
   ExpectTime(0, 0, 30, 1800);
   ExpectTime(0, 2, 0, 7200);
}

TEST_F(DHCPTest, TheSecondsBelowAMinuteAreDropped)
{
   ExpectTime(1, 1, 1, 90061);
   ExpectTime(0, 0, 0, 59);
   ExpectTime(49710, 6, 28, 4294967295u);
}

TEST_F(DHCPTest, ADayAnHourAndAMinuteAre90060Seconds)
{
   EXPECT_EQ(90060u, DHCP::LeaseTimeToSec({1, 1, 1}));
}

TEST_F(DHCPTest, LeaseTimesWrapBeyond32Bits)
{
   EXPECT_EQ(4294967280u, DHCP::LeaseTimeToSec({49710, 6, 28}));
   EXPECT_EQ(44u, DHCP::LeaseTimeToSec({49710, 6, 29}));
}

TEST_F(DHCPTest, ThereAndBackRoundsDownToAMinute)
{
   for (unsigned int seconds = 0; seconds < 3000000000u; seconds += 12345678) {
      EXPECT_EQ(seconds - seconds % 60, DHCP::LeaseTimeToSec(DHCP::SecToLeaseTime(seconds)));
   }
}

TEST_F(DHCPTest, EachSetterNotifiesOnceOfAnotherValueAndNotOfTheStoredOne)
{
   Listener listener(editable, network);

   for (int round = 0; round < 2; ++round) {
      dhcp.SetBeginIP("192.168.1.3");
      dhcp.SetEndIP("192.168.1.254");
      dhcp.SetDefaultLeaseTime(60);
      dhcp.SetMaxLeaseTime(120);
   }

   EXPECT_EQ((Heard{.network = 4, .dhcp = 4}), listener.heard);
   EXPECT_EQ("192.168.1.3", dhcp.GetBeginIP());
   EXPECT_EQ("192.168.1.254", dhcp.GetEndIP());
   EXPECT_EQ(60u, dhcp.GetDefaultLeaseTime());
   EXPECT_EQ(120u, dhcp.GetMaxLeaseTime());
}

TEST_F(DHCPTest, TheDefaultsStoredAgainStaySilent)
{
   Listener listener(editable, network);

   dhcp.SetBeginIP("");
   dhcp.SetEndIP("");
   dhcp.SetDefaultLeaseTime(1800);
   dhcp.SetMaxLeaseTime(7200);

   EXPECT_EQ(Heard(), listener.heard);
}

} // namespace netcfg::common
