// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/features.hh"

#include "base/preference.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The host's settings, as the features record sees them.
struct Settings {
   bool mtu = true;
   int reads = 0;
   std::string key;
   bool fallback = false;
};

Settings settings;

} // namespace

// Stands before the library's, so that no file of the host decides a test.
bool Preference_GetBool(bool fallback, char const* key)
{
   ++settings.reads;
   settings.key = key;
   settings.fallback = fallback;
   return settings.mtu;
}

namespace cui {
namespace {

// The record is read once a process, so one test tells its whole life.
TEST(FeaturesTest, MtuComesFromTheSettingsAtTheFirstCallAndStays)
{
   settings = Settings();
   settings.mtu = false;

   EXPECT_FALSE(GetFeatures().mtu);
   EXPECT_EQ("feature.mtu", settings.key);
   EXPECT_TRUE(settings.fallback);

   settings.mtu = true;
   EXPECT_FALSE(GetFeatures().mtu);
   EXPECT_EQ(1, settings.reads);
   EXPECT_EQ(&GetFeatures(), &GetFeatures());
}

TEST(FeaturesTest, ACapabilityTellsWhetherItIsThere)
{
   EXPECT_TRUE(Capability(true));
   EXPECT_FALSE(Capability(false));
}

} // namespace
} // namespace cui
