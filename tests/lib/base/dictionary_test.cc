// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/dictionary.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

class DictionaryTest : public testing::Test {
protected:
   char const* Get(char const* key) const { return Dict_GetString(dict.get(), "fallback", key); }

   std::unique_ptr<Dictionary, void (*)(Dictionary*)> dict{Dictionary_Create(), Dictionary_Free};
};

TEST_F(DictionaryTest, ANewOneHoldsNothing)
{
   EXPECT_STREQ("fallback", Get("log.suffix"));
   EXPECT_EQ(nullptr, Dict_GetString(dict.get(), nullptr, "log.suffix"));
}

TEST_F(DictionaryTest, TheLastTextUnderAKeyCounts)
{
   Dict_SetString(dict.get(), "one", "a");
   Dict_SetString(dict.get(), "other", "b");
   Dict_SetString(dict.get(), "two", "a");

   EXPECT_STREQ("two", Get("a"));
   EXPECT_STREQ("other", Get("b"));
}

TEST_F(DictionaryTest, ANullValueRemovesTheKeyAndAnEmptyOneDoesNot)
{
   Dict_SetString(dict.get(), "one", "a");
   Dict_SetString(dict.get(), "", "b");
   Dict_SetString(dict.get(), nullptr, "a");

   EXPECT_STREQ("fallback", Get("a"));
   EXPECT_STREQ("", Get("b"));
}

TEST_F(DictionaryTest, TextsAreCopied)
{
   std::string value = "value";
   std::string key = "key";
   Dict_SetString(dict.get(), value.c_str(), key.c_str());
   value = "other";
   key = "yek";

   EXPECT_STREQ("value", Get("key"));
}

TEST_F(DictionaryTest, ATextThatWasHandedOutOutlivesOtherChanges)
{
   Dict_SetString(dict.get(), "value", "key");
   char const* text = Get("key");
   for (int i = 0; i < 1000; ++i) {
      Dict_SetString(dict.get(), "filler", std::to_string(i).c_str());
   }
   EXPECT_EQ(text, Get("key"));
   EXPECT_STREQ("value", text);
}

TEST_F(DictionaryTest, AKeyCanBeSetToItsOwnText)
{
   Dict_SetString(dict.get(), "a text too long to be kept in place", "key");
   Dict_SetString(dict.get(), Get("key"), "key");

   EXPECT_STREQ("a text too long to be kept in place", Get("key"));
}

TEST_F(DictionaryTest, NullsAreHarmless)
{
   Dictionary_Free(nullptr);
   Dict_SetString(nullptr, "value", "key");
   Dict_SetString(dict.get(), "value", nullptr);

   EXPECT_STREQ("fallback", Dict_GetString(nullptr, "fallback", "key"));
   EXPECT_STREQ("fallback", Get(nullptr));
}

} // namespace
