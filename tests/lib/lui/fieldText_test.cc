// SPDX-License-Identifier: GPL-2.0-or-later
#include "lui/fieldText.hh"

#include <algorithm>
#include <gtest/gtest.h>

namespace lui {
namespace {

// An address being typed. The cursor is where the entry would have it.
class FieldTextTest : public testing::Test {
protected:
   // Types character by character; false at the first that is refused.
   bool Type(std::string const& text)
   {
      for (char const character : text) {
         std::optional<int> const next = address.Insert(std::string(1, character), cursor);
         if (!next) {
            return false;
         }
         cursor = *next;
      }
      return true;
   }

   bool Paste(std::string const& text)
   {
      std::optional<int> const next = address.Insert(text, cursor);
      cursor = next.value_or(cursor);
      return next.has_value();
   }

   void Backspace() { cursor = address.Delete(cursor - 1, cursor, cursor); }
   void Delete() { cursor = address.Delete(cursor, cursor + 1, cursor); }

   // The text with the cursor in it.
   std::string See() const
   {
      std::string text = address.Show();
      return text.insert(static_cast<unsigned int>(cursor), "|");
   }

   FieldText address{4, '.', 3, 255};
   int cursor = 0;
};

TEST_F(FieldTextTest, IsEmptyAtFirst)
{
   EXPECT_EQ("|", See());
   EXPECT_EQ("", address.Read());
}

TEST_F(FieldTextTest, ShowsAllFieldsAsSoonAsThereIsADigit)
{
   Type("1");

   EXPECT_EQ("1|...", See());
   EXPECT_EQ("1...", address.Read());
}

TEST_F(FieldTextTest, AFieldEndsByItselfAtThreeDigits)
{
   EXPECT_TRUE(Type("192168100254"));

   EXPECT_EQ("192.168.100.254|", See());
}

TEST_F(FieldTextTest, AFieldEndsAtADot)
{
   EXPECT_TRUE(Type("10.0.0.1"));

   EXPECT_EQ("10.0.0.1|", See());
}

TEST_F(FieldTextTest, ADotTypedBehindThreeDigitsIsTheOneThatIsThereAlready)
{
   EXPECT_TRUE(Type("192.168.100.254"));

   EXPECT_EQ("192.168.100.254|", See());
}

TEST_F(FieldTextTest, ASecondDotBehindThreeDigitsLeavesAFieldBlank)
{
   EXPECT_TRUE(Type("192..1.1"));

   EXPECT_EQ("192..1.1|", See());
   EXPECT_EQ("192..1.1", address.Read());
}

TEST_F(FieldTextTest, BlankFieldsReadAsDotsSideBySide)
{
   EXPECT_TRUE(Paste("192.168..0"));
   EXPECT_EQ("192.168..0", address.Read());
   EXPECT_TRUE(Paste("192.168.0."));
   EXPECT_EQ("192.168.0.", address.Read());
   EXPECT_TRUE(Paste(".168.0.1"));
   EXPECT_EQ(".168.0.1", address.Read());
}

TEST_F(FieldTextTest, AFieldAboveTheLargestValueIsRefused)
{
   EXPECT_TRUE(Type("25"));
   EXPECT_FALSE(Type("6"));
   EXPECT_EQ("25|...", See());
   EXPECT_TRUE(Type("5"));
   EXPECT_EQ("255.|..", See());
   EXPECT_FALSE(Paste("300.1.1.1"));
   EXPECT_EQ("255.|..", See());
}

TEST_F(FieldTextTest, AnythingButDigitsAndDotsIsRefused)
{
   for (char const* const text : {"a", " ", "-", "/", "1a", "1.2.3.x", "\n"}) {
      EXPECT_FALSE(Paste(text)) << text;
      EXPECT_EQ("|", See()) << text;
   }
}

TEST_F(FieldTextTest, AFullFieldTakesNoMoreDigits)
{
   Paste("10.20.300");
   EXPECT_EQ("|", See());
   Paste("100.20.30.40");
   cursor = 1;

   EXPECT_FALSE(Type("1"));
   EXPECT_EQ("1|00.20.30.40", See());
}

TEST_F(FieldTextTest, ADigitBehindAFullFieldGoesIntoABlankOne)
{
   Paste("192...");
   cursor = 3;

   EXPECT_TRUE(Type("7"));
   EXPECT_EQ("192.7|..", See());
}

TEST_F(FieldTextTest, ADigitBehindAFullFieldDoesntTouchTheNext)
{
   Paste("192.1.1.1");
   cursor = 3;

   EXPECT_FALSE(Type("7"));
   EXPECT_EQ("192|.1.1.1", See());
}

TEST_F(FieldTextTest, TheLastFieldHasNoDotBehindIt)
{
   Paste("10.0.0.1");

   EXPECT_FALSE(Type("."));
   EXPECT_EQ("10.0.0.1|", See());
}

TEST_F(FieldTextTest, ADotInsideAFieldGoesToTheNext)
{
   Paste("192.168.1.1");
   cursor = 1;

   EXPECT_TRUE(Type("."));
   EXPECT_EQ("192.|168.1.1", See());
}

TEST_F(FieldTextTest, AWholeAddressReplacesEverythingWhereverTheCursorIs)
{
   Paste("192.168.1.1");
   cursor = 5;

   EXPECT_TRUE(Paste("10.0.0.254"));
   EXPECT_EQ("10.0.0.254|", See());
}

TEST_F(FieldTextTest, APartOfAnAddressGoesInAtTheCursor)
{
   Type("192");

   EXPECT_TRUE(Paste("168.5"));
   EXPECT_EQ("192.168.5|.", See());
}

TEST_F(FieldTextTest, WhatDoesntFitIsRefusedAsAWhole)
{
   Type("10.");

   EXPECT_FALSE(Paste("1.2.3.4.5"));
   EXPECT_FALSE(Paste("1.2.256"));
   EXPECT_EQ("10.|..", See());
}

TEST_F(FieldTextTest, LeadingZerosGoWhenTheFieldEnds)
{
   EXPECT_TRUE(Type("010"));
   EXPECT_EQ("10.|..", See());
   EXPECT_TRUE(Type("00."));
   EXPECT_EQ("10.0.|.", See());
   EXPECT_TRUE(Type("01"));
   EXPECT_EQ("10.0.01|.", See());
   EXPECT_EQ("10.0.1.", address.Read());
   address.Tidy();
   EXPECT_EQ("10.0.1.", address.Show());
}

TEST_F(FieldTextTest, BackspaceDeletesADigit)
{
   Paste("10.0.0.12");
   Backspace();

   EXPECT_EQ("10.0.0.1|", See());
}

TEST_F(FieldTextTest, BackspaceStepsOverADot)
{
   Paste("10.0.0.1");
   cursor = 3;
   Backspace();
   EXPECT_EQ("10|.0.0.1", See());
   Backspace();
   EXPECT_EQ("1|.0.0.1", See());
}

TEST_F(FieldTextTest, DeleteStepsOverADot)
{
   Paste("10.20.0.1");
   cursor = 2;
   Delete();
   EXPECT_EQ("10.|20.0.1", See());
   Delete();
   EXPECT_EQ("10.|0.0.1", See());
}

TEST_F(FieldTextTest, BackspaceAllTheWayBlanksIt)
{
   Type("1.2");
   for (int step = 0; step < 3; ++step) {
      Backspace();
   }
   EXPECT_EQ("|", See());
   EXPECT_EQ("", address.Read());
}

TEST_F(FieldTextTest, TheDotsStayWhileTheCursorIsBehindThem)
{
   EXPECT_TRUE(Type("..5"));
   EXPECT_EQ("..5|.", See());
   Backspace();
   EXPECT_EQ("..|.", See());
   EXPECT_EQ("", address.Read());
   Backspace();
   Backspace();
   EXPECT_EQ("|", See());
}

TEST_F(FieldTextTest, DeletingARangeKeepsTheDots)
{
   Paste("192.168.1.1");
   cursor = address.Delete(1, 6, 6);

   EXPECT_EQ("1|.8.1.1", See());
}

TEST_F(FieldTextTest, DeletingEverythingBlanksIt)
{
   Paste("192.168.1.1");
   cursor = address.Delete(0, 11, 11);

   EXPECT_EQ("|", See());
}

TEST_F(FieldTextTest, ACursorBehindADeletedRangeKeepsItsPlace)
{
   Paste("192.168.1.1");
   cursor = address.Delete(0, 2, 9);

   EXPECT_EQ("2.168.1|.1", See());
}

TEST_F(FieldTextTest, RangesOutsideTheTextAreCutToIt)
{
   Paste("1.2.3.4");
   cursor = address.Delete(-5, 100, 7);
   EXPECT_EQ("|", See());
   cursor = address.Delete(3, 1, 0);
   EXPECT_EQ("|", See());
}

TEST_F(FieldTextTest, AfterTheCursorMovedADotCountsAgain)
{
   Type("192");
   address.ForgetStep();
   EXPECT_TRUE(Type("."));

   EXPECT_EQ("192..|.", See());
}

TEST_F(FieldTextTest, TellsTheFieldOfAPosition)
{
   Paste("192..7.1");

   EXPECT_EQ(0u, address.FieldAt(3));
   EXPECT_EQ(1u, address.FieldAt(4));
   EXPECT_EQ(2u, address.FieldAt(5));
   EXPECT_EQ(3u, address.FieldAt(8));
   EXPECT_EQ(3u, address.FieldAt(80));
}

// Whatever is done to it, the text has its form.
TEST_F(FieldTextTest, EveryTextOfFiveStrokesIsAnAddressOrBlank)
{
   std::string const keys = "012.b";
   for (int code = 0; code < 5 * 5 * 5 * 5 * 5; ++code) {
      address = FieldText(4, '.', 3, 255);
      cursor = 0;
      for (int stroke = 0, rest = code; stroke < 5; ++stroke, rest /= 5) {
         char const key = keys[static_cast<unsigned int>(rest % 5)];
         if (key != 'b') {
            Type(std::string(1, key));
         } else if (cursor > 0) {
            Backspace();
         }
      }
      std::string const text = address.Show();
      ASSERT_LE(cursor, static_cast<int>(text.size())) << code;
      ASSERT_TRUE(text.empty() || std::count(text.begin(), text.end(), '.') == 3) << text;
   }
}

} // namespace
} // namespace lui
