// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/format.hh"

#include "lib/utf/print.hh"

#include <gtest/gtest.h>

#include <string>

namespace cui {
namespace {

TEST(FormatTest, FormatsLikePrintf)
{
   EXPECT_EQ(utf::string("tvnet8"), Format("tvnet%u", 8u));
   EXPECT_EQ(utf::string("-3 eth0 100%"), Format("%d %s 100%%", -3, "eth0"));
   EXPECT_EQ(utf::string(""), Format("%s", ""));
}

TEST(FormatTest, TakesNumberedArguments)
{
   // Only translations have these, so the compiler never sees one.
   std::string const translated = "%2$s: %1$d";

   EXPECT_EQ(utf::string("eth0: 8"), Format(translated.c_str(), 8, "eth0"));
}

TEST(FormatTest, HasNoLimitOfLength)
{
   std::string const text(8 * 1024 * 1024, 'x');
   utf::string const formatted = Format("<%s>", text.c_str());

   EXPECT_EQ(text.size() + 2, formatted.bytes());
   EXPECT_TRUE(formatted.startsWith("<x", false));
}

TEST(FormatTest, KeepsCharactersWhole)
{
   EXPECT_EQ(utf::string("B\xC3\xBCro"), Format("%s", "B\xC3\xBCro"));
   EXPECT_EQ(utf::string("B\xEF\xBF\xBD"), Format("%.2s", "B\xC3\xBCro"));
}

TEST(FormatTest, ANulCharacterDoesntCutTheText)
{
   EXPECT_EQ(utf::string("a\0b", 3), Format("a%cb", 0));
}

TEST(FormatTest, WherePrintfFailsTheFormatIsTheText)
{
   wchar_t const nobodysCharacter[] = {0x7fffffff, 0};

   EXPECT_EQ(utf::string("adapter %ls"), Format("adapter %ls", nobodysCharacter));
}

} // namespace
} // namespace cui
