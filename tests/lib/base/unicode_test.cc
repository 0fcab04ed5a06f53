// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/unicode.h"

#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Texts(char** vector)
{
   std::vector<std::string> texts;
   for (; *vector; ++vector) {
      texts.emplace_back(*vector);
   }
   return texts;
}

using Strings = std::vector<std::string>;

// A command line that can be changed afterwards.
class UnicodeTest : public testing::Test {
protected:
   char program[8] = "program";
   char word[4] = "abc";
   char broken[6] = "a\xff"
                    "b\xc3";
};

TEST_F(UnicodeTest, AShortCommandLineIsPaddedWithEmptyTextsToFour)
{
   for (int count : {0, 1, 2, 3}) {
      char* vector[] = {program, word, word, nullptr, nullptr};
      vector[count] = nullptr;
      char** argv = vector;
      Unicode_Init(count, &argv, nullptr);

      Strings expected(vector, vector + count);
      expected.resize(4);
      EXPECT_EQ(expected, Texts(argv)) << count;
   }
}

TEST_F(UnicodeTest, ALongCommandLineKeepsItsLength)
{
   char* vector[] = {program, word, word, word, word, nullptr};
   char** argv = vector;
   Unicode_Init(5, &argv, nullptr);

   EXPECT_EQ((Strings{"program", "abc", "abc", "abc", "abc"}), Texts(argv));
}

TEST_F(UnicodeTest, AVectorWithoutAnythingReadsAsEmptyTexts)
{
   char** argv = nullptr;
   Unicode_Init(0, &argv, nullptr);

   EXPECT_EQ(Strings(4), Texts(argv));
}

TEST_F(UnicodeTest, AVectorThatEndsBeforeItsCountIsNotReadBeyondItsEnd)
{
   char* vector[] = {program, nullptr, word};
   char** argv = vector;
   Unicode_Init(3, &argv, nullptr);

   EXPECT_EQ((Strings{"program", "", "", ""}), Texts(argv));
}

TEST_F(UnicodeTest, BytesThatAreNotUtf8AreReplaced)
{
   char* vector[] = {program, broken, nullptr};
   char** argv = vector;
   char variable[] = "A=\x80";
   char* variables[] = {variable, word, nullptr};
   char** env = variables;
   Unicode_Init(2, &argv, &env);

   EXPECT_EQ((Strings{"program", "a\uFFFDb\uFFFD", "", ""}), Texts(argv));
   EXPECT_EQ((Strings{"A=\uFFFD", "abc"}), Texts(env));
}

TEST_F(UnicodeTest, ResultsAreCopiesThatLast)
{
   char* vector[] = {program, word, nullptr};
   char** argv = vector;
   Unicode_Init(2, &argv, nullptr);
   char** first = argv;
   word[0] = 'X';
   argv = vector;
   Unicode_Init(2, &argv, nullptr);

   EXPECT_EQ((Strings{"program", "abc", "", ""}), Texts(first));
   EXPECT_EQ((Strings{"program", "Xbc", "", ""}), Texts(argv));
}

TEST_F(UnicodeTest, ANullEnvironmentStaysNull)
{
   char** argv = nullptr;
   char** env = nullptr;
   Unicode_Init(0, &argv, &env);

   EXPECT_EQ(nullptr, env);
}

} // namespace
