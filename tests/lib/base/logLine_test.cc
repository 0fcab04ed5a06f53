// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logLine.hh"

#include "forkedTest.hh"

#include <cstdlib>
#include <glib.h>
#include <gtest/gtest.h>

namespace base {

namespace {

__attribute__((format(printf, 1, 2))) std::string Format(char const* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   std::string text = FormatLogText(format, arguments);
   va_end(arguments);
   return text;
}

TEST(LogLineTest, ALineHoldsTimeProcessLevelAndText)
{
   struct Zone {
      char const* name;
      char const* time;
   };
   for (Zone const& zone : {Zone{"UTC0", "2024-03-05T06:07:08.009+00:00"},
                            Zone{"AAA-5:30", "2024-03-05T11:37:08.009+05:30"},
                            Zone{"BBB3:30", "2024-03-05T02:37:08.009-03:30"}}) {
      EXPECT_TRUE(PassesInChild([&zone] {
         setenv("TZ", zone.name, 1);
         tzset();
         EXPECT_EQ(std::string(zone.time) + " 4711 info text\n",
                   MakeLogLine({1709618828, 9876543}, 4711, "info", "text\n"));
      }));
   }
}

TEST(LogLineTest, OnlyOneClosingNewlineIsDropped)
{
   EXPECT_EQ("text", EscapeLogText("text"));
   EXPECT_EQ("text", EscapeLogText("text\n"));
   EXPECT_EQ("text\\n", EscapeLogText("text\n\n"));
   EXPECT_EQ("", EscapeLogText("\n"));
   EXPECT_EQ("", EscapeLogText(""));
}

TEST(LogLineTest, NoTextPassesForALineOrSteersATerminal)
{
   struct Case {
      std::string text;
      char const* escaped;
   };
   for (Case const& c : {
           Case{"a\nb", "a\\nb"},
           Case{"a\rb\tc", "a\\rb\\tc"},
           Case{"a\x1b[2Jb", "a\\x1b[2Jb"},
           Case{"a\x7f", "a\\x7f"},
           Case{std::string("a\0b", 3), "a\\x00b"},
           Case{"a\u0085b", "a\\xc2\\x85b"},
           Case{"a\u2028b\u2029c", "a\\xe2\\x80\\xa8b\\xe2\\x80\\xa9c"},
           Case{"a\u202eb", "a\\xe2\\x80\\xaeb"},
        }) {
      EXPECT_EQ(c.escaped, EscapeLogText(c.text));
   }
}

TEST(LogLineTest, TextOfAnyLanguageStaysAndBrokenBytesShow)
{
   EXPECT_EQ("B\u00fcro \u20ac \U0001f600 \\", EscapeLogText("B\u00fcro \u20ac \U0001f600 \\"));
   EXPECT_EQ("a\\xffb\\xc3", EscapeLogText("a\xff"
                                           "b\xc3"));
   EXPECT_EQ("\\xed\\xa0\\x80", EscapeLogText("\xed\xa0\x80"));
}

TEST(LogLineTest, FormattingKnowsTheArguments)
{
   EXPECT_EQ("a 7 b", Format("a %d %s", 7, "b"));
}

TEST(LogLineTest, ATextOfAnySizeIsCutAtACharacter)
{
   std::string longest(MAX_LOG_TEXT, 'x');
   EXPECT_EQ(longest, Format("%s", longest.c_str()));
   EXPECT_EQ(longest.substr(3) + "...", Format("%sx", longest.c_str()));

   for (char const* character : {"\u00fc", "\u20ac", "\U0001f600"}) {
      for (int shift = 0; shift < 4; ++shift) {
         std::string text(static_cast<size_t>(shift), 'x');
         while (text.size() < 2 * MAX_LOG_TEXT) {
            text += character;
         }
         std::string cut = Format("%s", text.c_str());
         EXPECT_TRUE(g_utf8_validate(cut.c_str(), -1, nullptr)) << shift;
         EXPECT_TRUE(cut.ends_with("...")) << shift;
         EXPECT_LE(cut.size(), MAX_LOG_TEXT);
         EXPECT_GT(cut.size(), MAX_LOG_TEXT - 4);
      }
   }
}

} // namespace

} // namespace base
