// SPDX-License-Identifier: GPL-2.0-or-later
#include "utf/string.hh"

#include "lib/cui/languages.hh"
#include "lib/utf/print.hh"

#include <glib.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace utf {

namespace {

#define BAD "\xEF\xBF\xBD"

std::string Raw(string const& text)
{
   return std::string(text.c_str(), text.bytes());
}

bool IsValid(string const& text)
{
   return g_utf8_validate(text.c_str(), -1, nullptr);
}

struct Bytes {
   char const* name;
   std::string in;
   std::string out;
};

std::vector<Bytes> const REPLACED = {
   {"a stray continuation byte", "a\x80z", "a" BAD "z"},
   {"byte FF", "\xFF", BAD},
   {"byte FE", "a\xFE", "a" BAD},
   {"an overlong slash of two bytes", "\xC0\xAF", BAD BAD},
   {"an overlong slash of three bytes", "\xE0\x80\xAF", BAD BAD BAD},
   {"an overlong slash of four bytes", "\xF0\x80\x80\xAF", BAD BAD BAD BAD},
   {"an overlong NUL", "a\xC0\x80z", "a" BAD BAD "z"},
   {"a high surrogate", "\xED\xA0\x80", BAD BAD BAD},
   {"a low surrogate", "\xED\xBF\xBF", BAD BAD BAD},
   {"a surrogate pair", "\xED\xA0\xBD\xED\xB8\x80", BAD BAD BAD BAD BAD BAD},
   {"behind the last code point", "\xF4\x90\x80\x80", BAD BAD BAD BAD},
   {"a lead byte of five", "\xF8\x88\x80\x80\x80", BAD BAD BAD BAD BAD},
   {"two bytes cut short", "a\xC3", "a" BAD},
   {"three bytes cut short", "a\xE2\x82", "a" BAD BAD},
   {"four bytes cut short", "a\xF0\x9F\x98", "a" BAD BAD BAD},
   {"a truncated character before a good one", "\xE2\x82z\xC3\xBC", BAD BAD "z\xC3\xBC"},
   {"Latin-1", "B\xFCro", "B" BAD "ro"},
};

std::vector<std::string> const KEPT = {
   "",
   "plain",
   "B\xC3\xBCro",
   "\xED\x9F\xBF",     // U+D7FF, the last before the surrogates
   "\xEE\x80\x80",     // U+E000, the first behind them
   "\xEF\xBF\xBF",     // U+FFFF
   "\xF0\x90\x80\x80", // U+10000
   "\xF4\x8F\xBF\xBF", // U+10FFFF
   BAD,
};

TEST(StringTest, InvalidBytesAreReplacedOneByOne)
{
   for (Bytes const& bytes : REPLACED) {
      EXPECT_EQ(bytes.out, Raw(string(bytes.in.c_str()))) << bytes.name;
      EXPECT_EQ(bytes.out, Raw(string(bytes.in.data(), bytes.in.size()))) << bytes.name;
      EXPECT_EQ(bytes.out, Raw(string(Glib::ustring(bytes.in)))) << bytes.name;
   }
}

TEST(StringTest, ValidTextIsKeptByteForByte)
{
   for (std::string const& bytes : KEPT) {
      EXPECT_EQ(bytes, Raw(string(bytes.c_str())));
      EXPECT_EQ(bytes, Raw(string(bytes.data(), bytes.size())));
      EXPECT_EQ(bytes, Raw(string(Glib::ustring(bytes))));
   }
}

TEST(StringTest, WhateverBytesComeInTheTextIsValidAfterwards)
{
   std::mt19937 random(1);
   std::uniform_int_distribution<int> byte(1, 255);
   for (int round = 0; round < 5000; ++round) {
      std::string bytes(round % 17, '\0');
      for (char& each : bytes) {
         each = static_cast<char>(byte(random));
      }
      EXPECT_TRUE(IsValid(string(bytes.c_str()))) << g_strescape(bytes.c_str(), nullptr);
   }
}

TEST(StringTest, ANulAmongCountedBytesIsACharacter)
{
   std::string const bytes("a\0\xFF\0z", 5);
   string const text(bytes.data(), bytes.size());

   EXPECT_EQ(std::string("a\0" BAD "\0z", 7), Raw(text));
   EXPECT_EQ(5u, text.size());
   EXPECT_EQ(text, string(Glib::ustring(bytes)));
   EXPECT_EQ(4u, text.find("z", 0));
   EXPECT_STREQ("a", text.c_str());
}

TEST(StringTest, NullReadsAsTheEmptyText)
{
   EXPECT_TRUE(string(static_cast<char const*>(nullptr)).empty());
   EXPECT_TRUE(string(nullptr, 0).empty());
   EXPECT_EQ(0u, string().size());
   EXPECT_STREQ("", string().c_str());
}

TEST(StringTest, SizeCountsCharactersAndBytesCountsBytes)
{
   string const text("B\xC3\xBCro \xE2\x80\x95 \xF0\x9F\x98\x80");

   EXPECT_EQ(8u, text.size());
   EXPECT_EQ(14u, text.bytes());
   EXPECT_EQ(3u, string("\xFF").bytes());
   EXPECT_EQ(1u, string("\xFF").size());
}

TEST(StringTest, ConvertingToUstringCopiesNothing)
{
   string const text("tvnet8");
   Glib::ustring const& first = text;
   Glib::ustring const& second = text;

   EXPECT_EQ(&first, &second);
   EXPECT_EQ(text.c_str(), first.c_str());
   static_assert(std::is_convertible_v<string, Glib::ustring const&>);
}

TEST(StringTest, CopiesShareNothing)
{
   string first("one");
   string second(first);
   string third;
   third = first;
   first = string("two");

   EXPECT_EQ(string("one"), second);
   EXPECT_EQ(string("one"), third);
   EXPECT_NE(second.c_str(), third.c_str());
}

TEST(StringTest, ComparesByBytesInALocaleThatSortsOtherwise)
{
   cui::Languages languages;
   ASSERT_TRUE(languages.Speak("xx", "UTF-8", "en_US"));
   ASSERT_LT(std::strcoll("a", "B"), 0);
   // Each is smaller than the next.
   std::vector<string> const ascending = {
      "", "A", "B", "a", "ab", "b", "z", "\xC3\xA4", BAD, BAD "a", "\xF0\x9F\x98\x80"};

   for (size_t i = 0; i < ascending.size(); ++i) {
      for (size_t j = 0; j < ascending.size(); ++j) {
         EXPECT_EQ(i < j, ascending[i] < ascending[j]) << i << ' ' << j;
         EXPECT_EQ(i == j, ascending[i] == ascending[j]) << i << ' ' << j;
         EXPECT_EQ(i != j, ascending[i] != ascending[j]) << i << ' ' << j;
      }
   }
}

TEST(StringTest, NumbersLookTheSameInALocaleThatGroupsThem)
{
   cui::Languages languages;
   ASSERT_TRUE(languages.Speak("xx", "UTF-8", "de_DE"));

   EXPECT_EQ(string("-1234567"), IntToStr(-1234567));
}

TEST(StringTest, ComposedAndDecomposedLettersAreDifferentTexts)
{
   cui::Languages languages;
   ASSERT_TRUE(languages.Speak("xx", "UTF-8", "en_US"));
   string const composed("\xC3\xBC");
   string const decomposed("u\xCC\x88");

   EXPECT_NE(composed, decomposed);
   EXPECT_FALSE(composed == decomposed);
   EXPECT_TRUE(decomposed < composed);
   EXPECT_EQ(2u, (std::set<string>{composed, decomposed, composed}).size());
}

TEST(StringTest, FindCountsInCharacters)
{
   string const text("\xC3\xBC/\xE2\x82\xAC/x");

   EXPECT_EQ(1u, text.find("/", 0));
   EXPECT_EQ(1u, text.find("/", 1));
   EXPECT_EQ(3u, text.find("/", 2));
   EXPECT_EQ(2u, text.find("\xE2\x82\xAC", 0));
   EXPECT_EQ(string::npos, text.find("/", 4));
   EXPECT_EQ(string::npos, text.find("y", 0));
   EXPECT_EQ(2u, string("10..20").find("..", 0));
}

TEST(StringTest, FindSeesTheEmptyNeedleUpToTheEnd)
{
   string const text("\xC3\xBC"
                     "b");

   EXPECT_EQ(0u, text.find("", 0));
   EXPECT_EQ(2u, text.find("", 2));
   EXPECT_EQ(string::npos, text.find("", 3));
   EXPECT_EQ(string::npos, text.find("b", string::npos));
   EXPECT_EQ(0u, string().find("", 0));
   EXPECT_EQ(string::npos, string().find("a", 0));
}

TEST(StringTest, SubstrCutsAtCharacters)
{
   string const text("a\xC3\xBC\xE2\x82\xACz");

   EXPECT_EQ(string("\xC3\xBC\xE2\x82\xAC"), text.substr(1, 2));
   EXPECT_EQ(string("\xE2\x82\xACz"), text.substr(2, string::npos));
   EXPECT_EQ(text, text.substr(0, string::npos));
   EXPECT_EQ(string("z"), text.substr(3, 100));
   EXPECT_TRUE(text.substr(1, 0).empty());
   EXPECT_TRUE(text.substr(4, 1).empty());
   EXPECT_TRUE(text.substr(string::npos, string::npos).empty());
}

struct Split {
   string text;
   string separator;
   unsigned long limit;
   std::vector<string> parts;
};

TEST(StringTest, SplitKeepsEmptyPartsAndStopsAtTheLimit)
{
   std::vector<Split> const table = {
      {"Fail\nWhy\nnot", "\n", 0, {"Fail", "Why", "not"}},
      {"Fail\nWhy\nnot", "\n", 1, {"Fail\nWhy\nnot"}},
      {"Fail\nWhy\nnot", "\n", 2, {"Fail", "Why\nnot"}},
      {"Fail\nWhy\nnot", "\n", 3, {"Fail", "Why", "not"}},
      {"Fail\nWhy\nnot", "\n", 99, {"Fail", "Why", "not"}},
      {"a\n", "\n", 2, {"a", ""}},
      {"", "\n", 0, {""}},
      {"\n", "\n", 0, {"", ""}},
      {"\n\na\n", "\n", 0, {"", "", "a", ""}},
      {"Load", "\n", 0, {"Load"}},
      {"a\xC3\xBC"
       "b\xC3\xBC"
       "c",
       "\xC3\xBC",
       0,
       {"a", "b", "c"}},
      {"a..b...c", "..", 0, {"a", "b", ".c"}},
      {"abc", "", 0, {"abc"}},
      {"", "", 0, {""}},
   };
   for (Split const& row : table) {
      EXPECT_EQ(row.parts, row.text.split(row.separator, row.limit))
         << row.text.c_str() << " limit " << row.limit;
   }
}

TEST(StringTest, StartsWithComparesExactly)
{
   EXPECT_TRUE(string("Fail\nWhy").startsWith("Fail", false));
   EXPECT_TRUE(string("Fail").startsWith("Fail", false));
   EXPECT_TRUE(string("Fail").startsWith("", false));
   EXPECT_FALSE(string("fail").startsWith("Fail", false));
   EXPECT_FALSE(string("Fai").startsWith("Fail", false));
   EXPECT_FALSE(string().startsWith("Fail", false));
}

TEST(StringTest, StartsWithCanLookPastTheCase)
{
   EXPECT_TRUE(string("fAIL\nWhy").startsWith("Fail", true));
   EXPECT_TRUE(string("B\xC3\x9CRO 1").startsWith("b\xC3\xBCro", true));
   EXPECT_TRUE(string("STRASSE").startsWith("stra\xC3\x9F", true));
   EXPECT_TRUE(string("x").startsWith("", true));
   EXPECT_TRUE(string("A\0B", 3).startsWith(string("a\0b", 3), true));
   EXPECT_FALSE(string("A\0B", 3).startsWith(string("a\0c", 3), true));
   EXPECT_FALSE(string("Fai").startsWith("fail", true));
   EXPECT_FALSE(string("").startsWith("f", true));
   EXPECT_FALSE(string("B\xC3\xB6ro").startsWith("b\xC3\xBCro", true));
}

TEST(StringTest, PlusJoinsAndLeavesBothAlone)
{
   string const left("B\xC3\xBC");
   string const right("ro");

   EXPECT_EQ(string("B\xC3\xBCro"), left + right);
   EXPECT_EQ(string("B\xC3\xBC"), left);
   EXPECT_EQ(string("ro"), right);
   EXPECT_EQ(left, left + string());
}

TEST(StringTest, HalvesOfACharacterDontBecomeOneByJoining)
{
   EXPECT_EQ(string(BAD BAD), string("\xC3") + string("\xBC"));
}

TEST(StringTest, IsAKeyOfMaps)
{
   std::map<string, int> map;
   map["eth-b"] = 1;
   map["eth-a"] = 2;
   map["eth-b"] = 3;

   EXPECT_EQ(2u, map.size());
   EXPECT_EQ(string("eth-a"), map.begin()->first);
   EXPECT_EQ(3, map["eth-b"]);
}

TEST(StringTest, IntToStrIsDecimal)
{
   EXPECT_EQ(string("0"), IntToStr(0));
   EXPECT_EQ(string("-1"), IntToStr(-1));
   EXPECT_EQ(string("65535"), IntToStr(65535));
   EXPECT_EQ(string(std::to_string(LONG_MAX).c_str()), IntToStr(LONG_MAX));
   EXPECT_EQ(string(std::to_string(LONG_MIN).c_str()), IntToStr(LONG_MIN));
}

TEST(StringTest, AWritableBufferHoldsTheBytesAndANul)
{
   std::vector<char> buffer = {'o', 'l', 'd', 'e', 'r'};
   string const text("B\xC3\xBC");
   CreateWritableBuffer(text, buffer);

   EXPECT_EQ((std::vector<char>{'B', '\xC3', '\xBC', '\0'}), buffer);
   buffer[0] = 'b';
   EXPECT_EQ(string("b\xC3\xBC"), string(buffer.data()));
   EXPECT_EQ(string("B\xC3\xBC"), text);
}

TEST(StringTest, AWritableBufferOfTheEmptyTextIsOneNul)
{
   std::vector<char> buffer;
   CreateWritableBuffer(string(), buffer);

   EXPECT_EQ(std::vector<char>{'\0'}, buffer);
}

} // namespace
} // namespace utf
