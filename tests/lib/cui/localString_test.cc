// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/localString.hh"

#include "cui/format.hh"
#include "lib/cui/languages.hh"
#include "lib/utf/print.hh"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace cui {
namespace {

#define MARKER "@&!*@*@"

std::string Entry(std::string const& id, std::string const& text, std::string const& translation)
{
   return "msgctxt \"" + id + "\"\nmsgid \"" + text + "\"\nmsgstr \"" + translation + "\"\n\n";
}

void ReplaceInFile(std::filesystem::path const& file, std::string const& what,
                   std::string const& with)
{
   std::ifstream in(file, std::ios::binary);
   std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
   size_t const at = content.find(what);
   ASSERT_NE(std::string::npos, at) << what;
   content.replace(at, what.size(), with);
   std::ofstream(file, std::ios::binary) << content;
}

class LocalStringTest : public testing::Test {
protected:
   ~LocalStringTest() override { SetCatalogueDirectory(nullptr); }

   // Speaks "xx", whose catalogue has these entries.
   void Use(std::string const& entries)
   {
      ASSERT_TRUE(languages.Speak("xx", "UTF-8"));
      ASSERT_TRUE(languages.AddCatalogue("xx", entries));
      SetCatalogueDirectory(languages.GetDirectory().c_str());
   }

   Languages languages;
};

TEST_F(LocalStringTest, WithoutACatalogueTheDefaultTextIsTheText)
{
   EXPECT_EQ(utf::string("_Save  now/then"), GetLocalString(MARKER "(msg.a-b_C.1)_Save  now/then"));
   EXPECT_EQ(utf::string(""), GetLocalString(MARKER "(msg.empty)"));
   EXPECT_EQ(utf::string("(a) (b)"), GetLocalString(MARKER "(msg.paren)(a) (b)"));
   EXPECT_EQ(utf::string("line\n@&!*@*@(x)y"), GetLocalString(MARKER "(m)line\n@&!*@*@(x)y"));
}

TEST_F(LocalStringTest, NullIsTheEmptyText)
{
   EXPECT_TRUE(GetLocalString(nullptr).empty());
}

TEST_F(LocalStringTest, ATextWithoutAMarkerComesBackAsItIs)
{
   Use(Entry("msg", "Save", "Sichern"));
   for (char const* text : {"", "Save", "(msg)Save", "@", "@&!*@*", "@&!*@*(msg)Save",
                            " " MARKER "(msg)Save", "B\xC3\xBCro"}) {
      EXPECT_EQ(utf::string(text), GetLocalString(text));
   }
}

struct Row {
   char const* marked;
   char const* text;
};

TEST_F(LocalStringTest, AMalformedMarkerGivesReadableText)
{
   Use(Entry("msg", "Save", "Sichern"));
   std::vector<Row> const rows = {
      {MARKER, ""},
      {MARKER "Save", "Save"},
      {MARKER " (msg)Save", " (msg)Save"},
      {MARKER "(", "("},
      {MARKER "(msg", "(msg"},
      {MARKER "(msg.Save", "(msg.Save"},
      {MARKER "()Save", "Save"},
      {MARKER "(two words)Save", "(two words)Save"},
      {MARKER "(Save the (open) file", "(Save the (open) file"},
      {MARKER "((msg))Save", "((msg))Save"},
      {MARKER "(m\x04sg)Save", "(m\x04sg)Save"},
      {MARKER "(m\xC3\xBC)Save", "(m\xC3\xBC)Save"},
      {MARKER "(\xFF)Save", "(\xEF\xBF\xBD)Save"},
   };
   for (Row const& row : rows) {
      EXPECT_EQ(utf::string(row.text), GetLocalString(row.marked)) << row.marked;
   }
}

TEST_F(LocalStringTest, TheCatalogueIsAskedWithTheIdAsContext)
{
   Use(Entry("msg.save", "Save", "Sichern") + Entry("msg.keep", "Save", "Aufheben"));

   EXPECT_EQ(utf::string("Sichern"), GetLocalString(MARKER "(msg.save)Save"));
   EXPECT_EQ(utf::string("Aufheben"), GetLocalString(MARKER "(msg.keep)Save"));
   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg.other)Save"));
   EXPECT_EQ(utf::string("Save!"), GetLocalString(MARKER "(msg.save)Save!"));
}

TEST_F(LocalStringTest, AnEntryWithoutTranslationGivesTheDefaultText)
{
   Use(Entry("msg", "Save", "") + "#, fuzzy\n" + Entry("msg", "Quit", "Vielleicht") +
       Entry("msg", "Help", "Hilfe"));

   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg)Save"));
   EXPECT_EQ(utf::string("Quit"), GetLocalString(MARKER "(msg)Quit"));
   EXPECT_EQ(utf::string("Hilfe"), GetLocalString(MARKER "(msg)Help"));
}

TEST_F(LocalStringTest, LanguagePicksTheCatalogue)
{
   Use(Entry("msg", "Save", "Sichern"));
   ASSERT_TRUE(languages.AddCatalogue("yy", Entry("msg", "Save", "Sauver")));

   setenv("LANGUAGE", "zz:yy:xx", 1);
   EXPECT_EQ(utf::string("Sauver"), GetLocalString(MARKER "(msg)Save"));
}

TEST_F(LocalStringTest, ACatalogueIsUtf8InALocaleThatIsNot)
{
   ASSERT_TRUE(languages.Speak("xx", "ISO-8859-1"));
   ASSERT_TRUE(languages.AddCatalogue("xx", Entry("msg", "Office", "B\xC3\xBCro \xE2\x82\xAC")));
   SetCatalogueDirectory(languages.GetDirectory().c_str());

   EXPECT_EQ(utf::string("B\xC3\xBCro \xE2\x82\xAC"), GetLocalString(MARKER "(msg)Office"));
}

TEST_F(LocalStringTest, InvalidBytesOfACatalogueAreReplaced)
{
   ASSERT_TRUE(languages.Speak("xx", "UTF-8"));
   ASSERT_TRUE(languages.AddCatalogue("xx", Entry("msg", "Office", "B123ro")));
   ReplaceInFile(languages.GetCatalogueFile("xx"), "123", "\xFF\xC3\xC3");
   SetCatalogueDirectory(languages.GetDirectory().c_str());

   utf::string const text = GetLocalString(MARKER "(msg)Office");
   EXPECT_EQ(utf::string("B\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDro"), text);
}

TEST_F(LocalStringTest, AMissingCatalogueGivesTheDefaultText)
{
   ASSERT_TRUE(languages.Speak("xx", "UTF-8"));
   SetCatalogueDirectory((languages.GetDirectory() + "/nowhere").c_str());

   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg)Save"));
}

TEST_F(LocalStringTest, ADamagedCatalogueGivesTheDefaultText)
{
   ASSERT_TRUE(languages.Speak("xx", "UTF-8"));
   ASSERT_TRUE(languages.AddCatalogue("xx", Entry("msg", "Save", "Sichern")));
   std::filesystem::resize_file(languages.GetCatalogueFile("xx"), 10);
   SetCatalogueDirectory(languages.GetDirectory().c_str());

   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg)Save"));
}

TEST_F(LocalStringTest, WithoutADirectoryNoCatalogueIsAsked)
{
   Use(Entry("msg", "Save", "Sichern"));
   SetCatalogueDirectory(nullptr);

   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg)Save"));
}

TEST_F(LocalStringTest, TheCLocaleSpeaksTheDefaultText)
{
   Use(Entry("msg", "Save", "Sichern"));
   std::setlocale(LC_ALL, "C");

   EXPECT_EQ(utf::string("Save"), GetLocalString(MARKER "(msg)Save"));
}

struct Candidate {
   char const* text;
   char const* translation;
   bool used;
};

std::vector<Candidate> const CANDIDATES = {
   {"%s uses %d", "%s nutzt %d", true},
   {"%s uses %d", "%2$d nutzt %1$s", true},
   {"%s uses %d", "%1$s (%1$s) nutzt %2$d", true},
   {"%s uses %d", "%-10s nutzt %3i", true},
   {"%s uses %d", "%s nutzt 100%% von %d", true},
   {"%s uses %d", "%d nutzt %s", false},
   {"%s uses %d", "%2$s nutzt %1$d", false},
   {"%s uses %d", "%s nutzt %ld", false},
   {"%s uses %d", "%s nutzt", false},
   {"%s uses %d", "nutzt", false},
   {"%s uses %d", "%s nutzt %d von %s", false},
   {"%s uses %d", "%s nutzt %d%n", false},
   {"%s uses %d", "%s nutzt %*d", false},
   {"%s uses %d", "%s nutzt %d %", false},
   {"%s uses %d", "%1$s nutzt %d", false},
   {"Save", "Sichern %s", false},
   {"Save", "Sichern %", false},
   {"Save", "100%% sichern", true},
   {"100%", "100 %", true},
};

TEST_F(LocalStringTest, ATranslationThatTakesOtherArgumentsIsNotUsed)
{
   std::string entries;
   for (size_t i = 0; i < CANDIDATES.size(); ++i) {
      entries += Entry("msg" + std::to_string(i), CANDIDATES[i].text, CANDIDATES[i].translation);
   }
   Use(entries);

   for (size_t i = 0; i < CANDIDATES.size(); ++i) {
      Candidate const& candidate = CANDIDATES[i];
      std::string const marked = MARKER "(msg" + std::to_string(i) + ")" + candidate.text;
      EXPECT_EQ(utf::string(candidate.used ? candidate.translation : candidate.text),
                GetLocalString(marked.c_str()))
         << candidate.translation;
   }
}

TEST_F(LocalStringTest, ATranslatedFormatMayReorderItsArguments)
{
   Use(Entry("msg", "%s uses %u", "%2$u: %1$s"));

   EXPECT_EQ(utf::string("8: eth0"),
             Format(GetLocalString(MARKER "(msg)%s uses %u").c_str(), "eth0", 8u));
}

} // namespace
} // namespace cui
