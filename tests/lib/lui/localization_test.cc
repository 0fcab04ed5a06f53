// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/localization.hh"

#include "lib/cui/languages.hh"
#include "support/testProcess.hh"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// What a program of an installation below top prints, in the user's language.
std::string RunProbe(fs::path const& top, std::string const& locale, std::string const& language)
{
   test::TestProcess probe(
      {LOCALIZATION_PROBE},
      {{"LD_LIBRARY_PATH", top / "lib"}, {"LC_ALL", locale}, {"LANGUAGE", language}});
   EXPECT_TRUE(test::ExitedWith(probe.Wait(), 0));
   return probe.GetOutput();
}

class LocalizationTest : public testing::Test {
protected:
   LocalizationTest()
   {
      fs::create_directories(dir.GetPath() / "lib");
      for (auto const* library : {"libtavrinui.so.0", "libtavrinbase.so.0"}) {
         fs::copy_file(fs::path(TEST_BUILD_DIR) / "lib" / library, dir.GetPath() / "lib" / library);
      }
   }

   // The catalogue of a build tree.
   void AddGerman()
   {
      dir.Write("CMakeCache.txt", "");
      ASSERT_TRUE(languages.AddCatalogue("de", "msgctxt \"msg.probe\"\n"
                                               "msgid \"Automatic\"\n"
                                               "msgstr \"Selbstt\u00e4tig\"\n"));
      fs::path const catalogues = dir.GetPath() / "locale" / "de" / "LC_MESSAGES";
      fs::create_directories(catalogues);
      fs::copy_file(languages.GetCatalogueFile("de"), catalogues / "tavrin-netcfg.mo");
   }

   test::TempDir dir;
   cui::Languages languages;
};

} // namespace

TEST_F(LocalizationTest, BuildTreesCataloguesAreUsed)
{
   ASSERT_TRUE(languages.Speak("de", "UTF-8"));
   AddGerman();
   EXPECT_EQ("known Selbstt\u00e4tig\n", RunProbe(dir.GetPath(), "de_XX.UTF-8", ""));
}

TEST_F(LocalizationTest, FolderBesideTheLibrariesOfAnInstallationIsNotTaken)
{
   ASSERT_TRUE(languages.Speak("de", "UTF-8"));
   ASSERT_TRUE(languages.AddCatalogue("de", "msgctxt \"msg.probe\"\n"
                                            "msgid \"Automatic\"\n"
                                            "msgstr \"Other\"\n"));
   fs::path const catalogues = dir.GetPath() / "locale" / "de" / "LC_MESSAGES";
   fs::create_directories(catalogues);
   fs::copy_file(languages.GetCatalogueFile("de"), catalogues / "tavrin-netcfg.mo");

   EXPECT_EQ("known Automatic\n", RunProbe(dir.GetPath(), "de_XX.UTF-8", ""));
}

TEST_F(LocalizationTest, WithoutACatalogueTextsAreTheDefaultOnes)
{
   ASSERT_TRUE(languages.Speak("de", "UTF-8"));
   EXPECT_EQ("known Automatic\n", RunProbe(dir.GetPath(), "de_XX.UTF-8", ""));
}

TEST_F(LocalizationTest, AnUnknownLocaleIsToldAndItsLanguageIsFollowedAllTheSame)
{
   AddGerman();
   EXPECT_EQ("unknown Selbstt\u00e4tig\n", RunProbe(dir.GetPath(), "de_QQ.UTF-8", ""));
   EXPECT_EQ("unknown Automatic\n", RunProbe(dir.GetPath(), "fr_QQ.UTF-8", ""));
}

TEST_F(LocalizationTest, InAnUnknownLocaleTheListOfLanguagesIsFollowed)
{
   AddGerman();
   EXPECT_EQ("unknown Selbstt\u00e4tig\n", RunProbe(dir.GetPath(), "fr_QQ.UTF-8", "it:de"));
   EXPECT_EQ("unknown Automatic\n", RunProbe(dir.GetPath(), "de_QQ.UTF-8", "it"));
}

TEST_F(LocalizationTest, AListOfLanguagesIsFollowedWithoutALocaleButNotInTheLocaleC)
{
   AddGerman();
   test::TestProcess probe({LOCALIZATION_PROBE}, {{"LD_LIBRARY_PATH", dir.GetPath() / "lib"},
                                                  {"LC_ALL", ""},
                                                  {"LC_MESSAGES", ""},
                                                  {"LANG", ""},
                                                  {"LANGUAGE", "de"}});
   EXPECT_TRUE(test::ExitedWith(probe.Wait(), 0));
   EXPECT_EQ("known Selbstt\u00e4tig\n", probe.GetOutput());
   EXPECT_EQ("known Automatic\n", RunProbe(dir.GetPath(), "C", "de"));
}

TEST_F(LocalizationTest, TheSystemsTextsStayAsTheyAre)
{
   test::TestProcess probe({LOCALIZATION_PROBE, "system"},
                           {{"LC_ALL", "C.UTF-8"}, {"LANGUAGE", "de"}});
   EXPECT_TRUE(test::ExitedWith(probe.Wait(), 0));
   EXPECT_EQ("No such file or directory\n", probe.GetOutput());
}
