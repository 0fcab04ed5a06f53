// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/strUtil.h"

#include <gtest/gtest.h>

namespace {

TEST(StrUtilTest, WholeDecimalIntegersInRangeAreRead)
{
   struct Case {
      char const* text;
      int value;
   };
   for (Case const& c :
        {Case{"0", 0}, Case{"42", 42}, Case{"-42", -42}, Case{"+42", 42}, Case{"007", 7},
         Case{"-0", 0}, Case{"2147483647", 2147483647}, Case{"-2147483648", -2147483647 - 1}}) {
      int out = 99;
      EXPECT_TRUE(StrUtil_StrToInt(&out, c.text)) << c.text;
      EXPECT_EQ(c.value, out) << c.text;
   }
}

TEST(StrUtilTest, EverythingElseIsRefusedAndLeavesTheResultAlone)
{
   for (char const* text : {"",        " ",   " 1",         "1 ",          "1\n",
                            "\t1",     "+",   "-",          "+-1",         "-+1",
                            "++1",     "--1", "0x10",       "1.5",         "1e3",
                            "1,000",   "one", "2147483648", "-2147483649", "99999999999999999999",
                            "\xd9\xa1"}) {
      int out = 99;
      EXPECT_FALSE(StrUtil_StrToInt(&out, text)) << '"' << text << '"';
      EXPECT_EQ(99, out) << '"' << text << '"';
   }
}

TEST(StrUtilTest, NullIsNoNumber)
{
   int out = 99;
   EXPECT_FALSE(StrUtil_StrToInt(&out, nullptr));
   EXPECT_EQ(99, out);
}

} // namespace
