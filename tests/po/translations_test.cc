// SPDX-License-Identifier: GPL-2.0-or-later
// Each translation beside the text that it stands for, as the program gets them.
#include "cui/conversions.hh"
#include "po/linguas.hh"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <glib.h>
#include <map>
#include <regex>
#include <string_view>

namespace {

// A compiled catalogue: its header, then a table of texts and one of translations, whose rows are a
// length and an offset. See "The Format of GNU MO Files" in gettext's manual.
class Catalogue {
public:
   explicit Catalogue(std::string const& language)
   {
      std::string const path =
         TEST_BUILD_DIR "/locale/" + language + "/LC_MESSAGES/tavrin-netcfg.mo";
      std::ifstream file(path, std::ios::binary);
      content.assign(std::istreambuf_iterator<char>(file), {});
      EXPECT_EQ(0x950412deU, ReadNumber(0)) << path;
   }

   // The texts, behind their ids, and their translations; without the header.
   std::map<std::string, std::string> Read() const
   {
      std::map<std::string, std::string> entries;
      for (std::uint32_t row = 0; row < ReadNumber(8); ++row) {
         std::string const text = ReadText(ReadNumber(12) + row * 8);
         if (!text.empty()) {
            entries[text] = ReadText(ReadNumber(16) + row * 8);
         }
      }
      return entries;
   }

private:
   std::uint32_t ReadNumber(std::size_t offset) const
   {
      std::uint32_t number = 0;
      std::string const bytes = content.substr(offset, sizeof number);
      std::memcpy(&number, bytes.data(), bytes.size());
      return number;
   }

   std::string ReadText(std::size_t row) const
   {
      return content.substr(ReadNumber(row + 4), ReadNumber(row));
   }

   std::string content;
};

struct Translation {
   std::string id;
   std::string original;
   std::string text;
};

std::vector<Translation> ReadTranslations(std::string const& language)
{
   std::vector<Translation> translations;
   for (auto const& [key, text] : Catalogue(language).Read()) {
      std::size_t const glue = key.find('\004');
      EXPECT_NE(std::string::npos, glue) << key << " has no id";
      translations.push_back({key.substr(0, glue), key.substr(glue + 1), text});
   }
   return translations;
}

bool EndsWithOneOf(std::string_view text, std::initializer_list<std::string_view> ends)
{
   return std::any_of(ends.begin(), ends.end(),
                      [text](std::string_view end) { return text.ends_with(end); });
}

std::string WithoutTags(std::string const& text)
{
   return std::regex_replace(text, std::regex("<[^>]*>"), "");
}

class TranslationsTest : public testing::TestWithParam<std::string> {
protected:
   std::vector<Translation> const translations = ReadTranslations(GetParam());
};

} // namespace

TEST_P(TranslationsTest, EachTakesTheArgumentsOfItsText)
{
   EXPECT_LT(100u, translations.size());
   for (Translation const& one : translations) {
      EXPECT_EQ(cui::GetConversions(one.original), cui::GetConversions(one.text)) << one.id;
   }
}

TEST_P(TranslationsTest, EachHasAMnemonicWhereItsTextHasOne)
{
   for (Translation const& one : translations) {
      EXPECT_EQ(std::count(one.original.begin(), one.original.end(), '_'),
                std::count(one.text.begin(), one.text.end(), '_'))
         << one.id;
   }
}

TEST_P(TranslationsTest, EachEndsAsItsTextDoes)
{
   for (Translation const& one : translations) {
      bool const asksMore = one.original.ends_with("...");
      EXPECT_EQ(asksMore, one.text.ends_with("…")) << one.id;
      EXPECT_EQ(one.original.ends_with(':'), EndsWithOneOf(one.text, {":", "："})) << one.id;
      if (one.original.ends_with('.') && !asksMore) {
         EXPECT_TRUE(EndsWithOneOf(one.text, {".", "。"})) << one.id;
      }
   }
}

TEST_P(TranslationsTest, QuotesEllipsesAndBlanksAreThoseOfPrint)
{
   for (Translation const& one : translations) {
      std::string const text = WithoutTags(one.text);
      for (char const* const typed : {"\"", "'", "...", "  "}) {
         EXPECT_EQ(std::string::npos, text.find(typed)) << one.id << ": " << text;
      }
      EXPECT_FALSE(text.starts_with(' ') || text.ends_with(' ')) << one.id;
   }
}

TEST_P(TranslationsTest, MarkUpStaysMarkUp)
{
   std::regex const tag("<[^>]*>");
   for (Translation const& one : translations) {
      std::smatch original;
      std::smatch translated;
      bool const isMarkedUp = std::regex_search(one.original, original, tag);
      ASSERT_EQ(isMarkedUp, std::regex_search(one.text, translated, tag)) << one.id;
      if (isMarkedUp) {
         EXPECT_EQ(original.str(), translated.str()) << one.id;
      }
      EXPECT_TRUE(g_utf8_validate(one.text.c_str(), -1, nullptr)) << one.id;
   }
}

INSTANTIATE_TEST_SUITE_P(In, TranslationsTest, testing::ValuesIn(test::ReadLanguages()),
                         test::NameLanguage);
