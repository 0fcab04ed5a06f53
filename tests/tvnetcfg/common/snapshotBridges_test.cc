// SPDX-License-Identifier: GPL-2.0-or-later
// What a snapshot makes of the bridges.
#include "tvnetcfg/common/bridge.hh"
#include "tvnetcfg/common/snapshotText.hh"

#include <boost/property_tree/exceptions.hpp>
#include <gtest/gtest.h>
#include <stdexcept>

namespace netcfg::common {

namespace {

// None has this index.
unsigned int const NOBODY = 999;

unsigned int OwnerOf(Editable& editable, char const* adapter)
{
   Network* const network = editable.GetNetworkForAdapter(adapter);
   return network ? network->GetIndex() : NOBODY;
}

} // namespace

TEST(SnapshotBridgesTest, AFixedBridgeComesBackWithItsAdapter)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth1"])") + "}"));

   EXPECT_FALSE(editable->GetNetwork(2)->GetBridge()->IsAuto());
   EXPECT_EQ("eth1", editable->GetNetwork(2)->GetBridge()->GetAdapter());
   EXPECT_EQ(2u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(NOBODY, OwnerOf(*editable, "eth0"));
}

TEST(SnapshotBridgesTest, AFixedBridgeKeepsTheFirstOfSeveralAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth2","eth0"])") + "}"));

   EXPECT_EQ(2u, OwnerOf(*editable, "eth2"));
   EXPECT_EQ(NOBODY, OwnerOf(*editable, "eth0"));
}

TEST(SnapshotBridgesTest, AFixedBridgeWithoutAdaptersStaysEmpty)
{
   for (char const* none : {R"("")", "[]", "{}", R"("eth0")"}) {
      std::unique_ptr<Editable> const editable =
         Read(Snapshot(R"({"2":)" + Fixed("2", none) + "}"));

      EXPECT_EQ("", editable->GetNetwork(2)->GetBridge()->GetAdapter()) << none;
      EXPECT_EQ("eth0", editable->GetUnusedHostAdapter()) << none;
   }
}

TEST(SnapshotBridgesTest, AFixedBridgeOnAnUnknownAdapterStaysEmpty)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"2":)" + Fixed("2", R"(["eth7"])") + "}"));

   EXPECT_EQ("", editable->GetNetwork(2)->GetBridge()->GetAdapter());
   EXPECT_EQ(3u, editable->GetHostAdapters().size());
}

TEST(SnapshotBridgesTest, AnAutomaticTvnet0ComesBackWithAllAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"0":)" + Automatic("0") + "}", "0"));

   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
   EXPECT_EQ(editable->GetNetwork(0), editable->GetAutoBridgeNetwork());
   EXPECT_EQ("", editable->GetUnusedHostAdapter());
}

TEST(SnapshotBridgesTest, AnAutomaticTvnet0TakesBackWhatTheUserTookOut)
{
   Editable written(20);
   written.AddHostAdapter("eth0", "");
   written.AddHostAdapter("eth1", "");
   written.AddNetwork(Network::Bridged, 0, true, OnDone())->GetBridge()->RemoveAutoAdapter("eth1");

   EXPECT_EQ(0u, OwnerOf(*RoundTrip(written), "eth1"));
}

TEST(SnapshotBridgesTest, AnAutomaticTvnet0TakesTheAdapterOfALaterNetwork)
{
   Editable written(20);
   written.AddHostAdapter("eth0", "");
   written.AddHostAdapter("eth1", "");
   written.AddNetwork(Network::Bridged, 3, true, OnDone());
   written.AddNetwork(Network::Bridged, 0, true, OnDone());

   std::unique_ptr<Editable> const editable = RoundTrip(written);

   EXPECT_EQ(0u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ("", editable->GetNetwork(3)->GetBridge()->GetAdapter());
   EXPECT_NO_THROW(RoundTrip(*editable));
}

TEST(SnapshotBridgesTest, TheOrderOfTheTextDecidesWhoTakesAnAdapter)
{
   std::unique_ptr<Editable> const editable = Read(
      Snapshot(R"({"3":)" + Fixed("3", R"(["eth1"])") + R"(,"0":)" + Automatic("0") + "}", "0"));

   EXPECT_EQ(3u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(0u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ(0u, OwnerOf(*editable, "eth2"));
}

TEST(SnapshotBridgesTest, OnlyTvnet0BecomesAutomatic)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(R"({"2":)" + Automatic("2") + "}"));

   EXPECT_FALSE(editable->GetNetwork(2)->GetBridge()->IsAuto());
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
   EXPECT_EQ("eth0", editable->GetUnusedHostAdapter());
}

TEST(SnapshotBridgesTest, AnAutomaticBridgeNeedsNoListOfAdapters)
{
   std::unique_ptr<Editable> const editable =
      Read(Snapshot(R"({"0":)" + Bridged("0", R"({"Auto":"true"})") + "}", "0"));

   EXPECT_TRUE(editable->GetNetwork(0)->GetBridge()->IsAuto());
}

TEST(SnapshotBridgesTest, TheAutomaticIndexGivesItsNetworkEveryFreeAdapter)
{
   std::unique_ptr<Editable> const editable = Read(Snapshot(
      R"({"2":)" + Fixed("2", R"(["eth1"])") + R"(,"4":)" + Fixed("4", R"(["eth2"])") + "}", "2"));

   EXPECT_EQ(2u, OwnerOf(*editable, "eth0"));
   EXPECT_EQ(2u, OwnerOf(*editable, "eth1"));
   EXPECT_EQ(4u, OwnerOf(*editable, "eth2"));
   EXPECT_EQ(nullptr, editable->GetAutoBridgeNetwork());
}

TEST(SnapshotBridgesTest, AnAutomaticIndexOfAnEmptySlotIsPassedOver)
{
   EXPECT_NE(nullptr, Read(Snapshot(R"({"0":"0"})", "0")));
}

TEST(SnapshotBridgesTest, AnyNegativeAutomaticIndexMeansNone)
{
   EXPECT_NE(nullptr, Read(Snapshot(R"("")", "-5")));
}

TEST(SnapshotBridgesTest, AnAutomaticIndexThatIsNotThereThrows)
{
   EXPECT_THROW(Read(Snapshot(R"({"1":"0"})", "0")), std::out_of_range);
   EXPECT_THROW(Read(Snapshot(R"("")", "0")), std::out_of_range);
}

TEST(SnapshotBridgesTest, AnAutomaticIndexOfANetworkThatIsNotBridgedThrows)
{
   EXPECT_THROW(Read(Snapshot(R"({"0":)" + HostOnly("0") + "}", "0")),
                boost::property_tree::ptree_bad_data);
}

} // namespace netcfg::common
