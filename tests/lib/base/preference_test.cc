// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/preference.h"

#include "base/preferenceFiles.hh"
#include "capturedLog.hh"
#include "forkedTest.hh"
#include "support/privateEtc.hh"
#include "support/testProcess.hh"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace base {

namespace {

class PreferenceTest : public testing::Test {
protected:
   // The preferences of a process are its own for good.
   ~PreferenceTest() override { LoadPreferences("/nonexistent", ""); }

   bool Load(std::string const& hostText, std::string const& userText)
   {
      return LoadPreferences(folder.Write("host", hostText), folder.Write("user", userText));
   }

   test::TempDir folder;
   CapturedLog log;
};

TEST_F(PreferenceTest, TheUsersSettingGoesAboveTheHosts)
{
   EXPECT_TRUE(Load("a = \"host\"\nb = \"host\"\n", "b = \"user\"\nc = \"user\"\n"));
   EXPECT_STREQ("host", Preference_GetString("fallback", "a"));
   EXPECT_STREQ("user", Preference_GetString("fallback", "b"));
   EXPECT_STREQ("user", Preference_GetString("fallback", "c"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "d"));
   EXPECT_EQ(nullptr, Preference_GetString(nullptr, "d"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", nullptr));
}

TEST_F(PreferenceTest, FeaturesAreTheHostsAlone)
{
   EXPECT_TRUE(Load("feature.mtu = \"no\"\n", "feature.mtu = \"yes\"\nfeature.other = \"yes\"\n"));
   EXPECT_STREQ("no", Preference_GetString("fallback", "feature.mtu"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "feature.other"));
}

TEST_F(PreferenceTest, WithoutAUsersPathTheHostsFileCountsAlone)
{
   EXPECT_TRUE(LoadPreferences(folder.Write("host", "a = \"host\"\n"), ""));
   EXPECT_STREQ("host", Preference_GetString("fallback", "a"));
}

TEST_F(PreferenceTest, FilesThatAreNotThereAreNoFailure)
{
   EXPECT_TRUE(LoadPreferences(folder.GetPath() / "none", folder.GetPath() / "neither"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "a"));
}

TEST_F(PreferenceTest, AFileThatCannotBeReadIsAFailureAndTheOtherCountsAllTheSame)
{
   EXPECT_FALSE(Load("a = \"\xff\"\n", "b = \"user\"\n"));
   EXPECT_STREQ("user", Preference_GetString("fallback", "b"));
   EXPECT_FALSE(Load("a = \"host\"\n", "b = \"\xff\"\n"));
   EXPECT_STREQ("host", Preference_GetString("fallback", "a"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "b"));
}

TEST_F(PreferenceTest, LoadingAnewForgetsWhatIsGone)
{
   EXPECT_TRUE(Load("a = \"host\"\n", "b = \"user\"\n"));
   EXPECT_TRUE(Load("", ""));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "a"));
   EXPECT_STREQ("fallback", Preference_GetString("fallback", "b"));
}

TEST_F(PreferenceTest, TruthIsReadInItsSixWordsAndAnyCase)
{
   for (char const* word : {"TRUE", "true", "True", "yes", "YES", "1"}) {
      EXPECT_TRUE(Load("a = \"" + std::string(word) + "\"\n", ""));
      EXPECT_TRUE(Preference_GetBool(false, "a")) << word;
   }
   for (char const* word : {"FALSE", "false", "no", "No", "0"}) {
      EXPECT_TRUE(Load("a = \"" + std::string(word) + "\"\n", ""));
      EXPECT_FALSE(Preference_GetBool(true, "a")) << word;
   }
   for (char const* word : {"", "on", "10", "TRUE ", "y"}) {
      EXPECT_TRUE(Load("a = \"" + std::string(word) + "\"\n", ""));
      EXPECT_TRUE(Preference_GetBool(true, "a")) << word;
      EXPECT_FALSE(Preference_GetBool(false, "a")) << word;
   }
   EXPECT_TRUE(Preference_GetBool(true, "none"));
   EXPECT_FALSE(Preference_GetBool(false, "none"));
}

TEST_F(PreferenceTest, ANumberIsOneWholeInteger)
{
   EXPECT_TRUE(Load("a = \"-7\"\nb = \"7 \"\nc = \"\"\n", ""));
   EXPECT_EQ(-7, Preference_GetInt(3, "a"));
   EXPECT_EQ(3, Preference_GetInt(3, "b"));
   EXPECT_EQ(3, Preference_GetInt(3, "c"));
   EXPECT_EQ(3, Preference_GetInt(3, "none"));
}

// What Preference_Init reads, in a host of its own.
class PreferenceInitTest : public testing::Test {
protected:
   void SetUp() override
   {
      std::string const user = folder.GetPath() / "tavrin";
      ASSERT_EQ(0, mkdir(user.c_str(), 0755));
      folder.Write("tavrin/preferences", "a = \"user\"\nfeature.mtu = \"yes\"\n");
      ASSERT_EQ(0, chmod(folder.GetPath().c_str(), 0755));
      setenv("XDG_CONFIG_HOME", folder.GetPath().c_str(), 1);
   }

   static void WriteHostFile()
   {
      if (test::HavePrivateEtc()) {
         std::ofstream("/etc/tavrin/config") << "a = \"host\"\nfeature.mtu = \"no\"\n";
      }
   }

   // Whether this process can have an /etc of its own. Answered by a child, for good.
   static bool CanHavePrivateEtc()
   {
      return PassesInChild([] { _exit(test::HavePrivateEtc() ? 0 : 1); });
   }

   test::TempDir folder;
   CapturedLog log;
};

TEST_F(PreferenceInitTest, AnOrdinaryUserReadsBothFiles)
{
   if (!CanHavePrivateEtc()) {
      GTEST_SKIP() << "a private /etc can't be had here";
   }
   EXPECT_TRUE(PassesInChild([] {
      WriteHostFile();
      if (geteuid() == 0) {
         BecomeNobody();
      }
      EXPECT_TRUE(Preference_Init());
      EXPECT_STREQ("user", Preference_GetString("", "a"));
      EXPECT_STREQ("no", Preference_GetString("", "feature.mtu"));
   }));
}

TEST_F(PreferenceInitTest, RootIsNotSteeredByAUsersFile)
{
   if (geteuid() != 0 || !CanHavePrivateEtc()) {
      GTEST_SKIP() << "needs root with a private /etc";
   }
   EXPECT_TRUE(PassesInChild([] {
      WriteHostFile();
      EXPECT_TRUE(Preference_Init());
      EXPECT_STREQ("host", Preference_GetString("", "a"));
      EXPECT_EQ("", UserPreferencePath());
   }));
}

TEST_F(PreferenceInitTest, TheUsersFileFollowsTheConfigurationDirectory)
{
   EXPECT_TRUE(PassesInChild([this] {
      if (geteuid() == 0) {
         BecomeNobody();
      }
      EXPECT_EQ((folder.GetPath() / "tavrin/preferences").string(), UserPreferencePath());
      unsetenv("XDG_CONFIG_HOME");
      setenv("HOME", "/some/home", 1);
      EXPECT_EQ("/some/home/.config/tavrin/preferences", UserPreferencePath());
   }));
}

} // namespace

} // namespace base
