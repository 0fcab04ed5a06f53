// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/firewalld.hh"

#include "lib/vnet/getFailure.hh"
#include "lib/vnet/process/firewalldDouble.hh"
#include "support/netlab/lab.hh"
#include "support/netlab/namespace.hh"
#include "support/testProcess.hh"

#include <gmock/gmock.h>

namespace vnet::process {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::Pair;

class FirewalldTest : public netlab::LabTest {
protected:
   FirewalldDouble service;
   Firewalld zones{service.GetAddress(), test::patience};
};

TEST_F(FirewalldTest, TellsTheZonesAndWhoIsInOne)
{
   EXPECT_THAT(zones.ListDevices(), Optional(ElementsAre(Pair("eth0", "public"))));
   EXPECT_THAT(zones.ListZones(), ElementsAre("public", "tavrin"));
}

TEST_F(FirewalldTest, ADeviceGoesInAndOut)
{
   zones.Add("tavrin", "tvnet8");
   EXPECT_THAT(zones.ListDevices(),
               Optional(ElementsAre(Pair("eth0", "public"), Pair("tvnet8", "tavrin"))));
   zones.Remove("tavrin", "tvnet8");
   EXPECT_THAT(zones.ListDevices(), Optional(ElementsAre(Pair("eth0", "public"))));
}

TEST_F(FirewalldTest, ARefusalIsToldInItsWords)
{
   EXPECT_EQ("put tvnet8 into firewalld's zone nowhere: INVALID_ZONE: nowhere",
             GetFailure([this] { zones.Add("nowhere", "tvnet8"); }));
   EXPECT_EQ("take tvnet8 out of firewalld's zone tavrin: UNKNOWN_INTERFACE: 'tvnet8' is not in "
             "'tavrin'",
             GetFailure([this] { zones.Remove("tavrin", "tvnet8"); }));
}

TEST_F(FirewalldTest, OneThatFiltersForAnotherNetworkIsLeftAlone)
{
   netlab::Namespace const container;
   container.Run([this] {
      EXPECT_FALSE(zones.ListDevices());
      EXPECT_EQ("put tvnet8 into firewalld's zone tavrin: firewalld doesn't run here",
                GetFailure([this] { zones.Add("tavrin", "tvnet8"); }));
      return 0;
   });
   EXPECT_THAT(service.GetCalls(), IsEmpty());
}

TEST_F(FirewalldTest, ABusWithoutItHasNone)
{
   FirewalldDouble const stranger("org.fedoraproject.Stranger1");
   Firewalld without(stranger.GetAddress(), test::patience);
   EXPECT_FALSE(without.ListDevices());
   EXPECT_EQ("list zones of firewalld: firewalld doesn't run here",
             GetFailure([&] { without.ListZones(); }));
   EXPECT_THAT(stranger.GetCalls(), IsEmpty());
}

TEST_F(FirewalldTest, AMissingBusIsTold)
{
   Firewalld without("unix:path=/nowhere/bus");
   EXPECT_EQ("list devices of firewalld: Could not connect: No such file or directory",
             GetFailure([&] { without.ListDevices(); }));
}

} // namespace

} // namespace vnet::process
