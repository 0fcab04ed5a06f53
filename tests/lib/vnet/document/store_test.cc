// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/database/tempPlace.hh"
#include "lib/vnet/document/sampleSettings.hh"
#include "vnet/document/store.hh"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vnet::document {

namespace {

using testing::HasSubstr;

constexpr char head[] = "[general]\nversion=1\n";

// What the file says after settings were stored in it.
Settings StoreAndRead(test::TempPlace const& place, Settings const& settings)
{
   {
      Database database(place.Get());
      Store(database, settings);
      EXPECT_EQ(settings, database.GetSettings());
      database.Commit();
   }
   return Database(place.Get()).GetSettings();
}

TEST(StoreTest, AnEmptyDatabaseTakesAll)
{
   test::TempPlace place(head);
   EXPECT_EQ(MakeSampleSettings(), StoreAndRead(place, MakeSampleSettings()));
}

TEST(StoreTest, AFullDatabaseBecomesEmpty)
{
   test::TempPlace place(head);
   StoreAndRead(place, MakeSampleSettings());
   EXPECT_EQ(Settings(), StoreAndRead(place, {}));
}

TEST(StoreTest, OtherSettingsTakeTheirPlace)
{
   test::TempPlace place(test::richText);
   EXPECT_EQ(MakeSampleSettings(), StoreAndRead(place, MakeSampleSettings()));
   auto other = MakeSampleSettings();
   other.automatic = 3;
   other.adapters = {{"eth1", 3}, {"eth9", 0}};
   other.networks[8].nat.forwards.pop_back();
   other.networks[8].displayName.clear();
   other.networks[200] = MakeFullNetwork();
   other.networks.erase(1);
   EXPECT_EQ(other, StoreAndRead(place, other));
}

TEST(StoreTest, WhatIsEqualIsNotWritten)
{
   test::TempPlace place(test::richText);
   auto const settings = Database(place.Get()).GetSettings();
   Database database(place.Get());
   Store(database, settings);
   EXPECT_FALSE(database.HasChanges());
}

TEST(StoreTest, CommentsAndUnknownKeysStay)
{
   test::TempPlace place(std::string(head) + "# mine\n[tvnet1]\ncolour=red\nmtu=1400\n");
   auto settings = Database(place.Get()).GetSettings();
   settings.networks[1].mtu = 1500;
   StoreAndRead(place, settings);
   EXPECT_THAT(place.Read(), HasSubstr("# mine\n[tvnet1]\ncolour=red\nmtu=1500\n"));
}

TEST(StoreTest, ANetworkThatWasOnlyForwardsCanLoseThem)
{
   test::TempPlace place(std::string(head) +
                         "[tvnet8 forward tcp 80]\naddress=10.0.0.5\nport=80\n");
   Settings settings;
   settings.networks[8];
   EXPECT_EQ(settings, StoreAndRead(place, settings));
}

} // namespace

} // namespace vnet::document
