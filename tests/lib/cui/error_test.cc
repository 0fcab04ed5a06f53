// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/error.hh"

#include "lib/utf/print.hh"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <type_traits>
#include <vector>

namespace cui {
namespace {

TEST(ErrorTest, TheDefaultErrorIsEmpty)
{
   Error const error;

   EXPECT_STREQ("", error.what());
   EXPECT_EQ("", error.GetDetail());
   EXPECT_TRUE(error.GetArguments().empty());
}

TEST(ErrorTest, AnErrorOfAMessageHasNothingElse)
{
   Error const error(utf::string("Can't bridge B\xC3\xBCro"));

   EXPECT_STREQ("Can't bridge B\xC3\xBCro", error.what());
   EXPECT_EQ("", error.GetDetail());
   EXPECT_TRUE(error.GetArguments().empty());
}

TEST(ErrorTest, WhatOfACopyEqualsWhatOfItsSource)
{
   Error const source(utf::string("message"));
   Error const copy(source);

   EXPECT_STREQ(source.what(), copy.what());
   EXPECT_NE(source.what(), copy.what());
}

TEST(ErrorTest, CopyingCopiesAllThreeFields)
{
   Error source("message", "detail", {"one", "two"});
   Error const copy(source);
   Error assigned;
   assigned = source;
   source = Error();

   for (Error const* error : {&copy, static_cast<Error const*>(&assigned)}) {
      EXPECT_STREQ("message", error->what());
      EXPECT_EQ("detail", error->GetDetail());
      EXPECT_EQ((std::vector<utf::string>{"one", "two"}), error->GetArguments());
   }
}

TEST(ErrorTest, IsFilledThroughAnOutParameter)
{
   auto const refuse = [](Error& out) { out = Error(utf::string("no")); };
   Error error;
   refuse(error);

   EXPECT_STREQ("no", error.what());
}

TEST(ErrorTest, AMessageIsNoErrorByAccident)
{
   static_assert(!std::is_convertible_v<utf::string, Error>);
   static_assert(std::is_base_of_v<std::exception, Error>);
   static_assert(std::is_base_of_v<Error, NullPointerError>);
   static_assert(std::is_nothrow_move_constructible_v<utf::string>);
}

TEST(NullPointerErrorTest, TheMessageIsExact)
{
   EXPECT_STREQ("Null pointer dereference", NullPointerError().what());
   EXPECT_EQ("", NullPointerError().GetDetail());
   EXPECT_TRUE(NullPointerError().GetArguments().empty());
}

TEST(ThrowTest, ThrowsACopyOfItsArgument)
{
   Error const source("message", "detail", {"one"});
   try {
      Throw(source);
   } catch (std::exception const& caught) {
      EXPECT_STREQ("message", caught.what());
      auto const* error = dynamic_cast<Error const*>(&caught);
      ASSERT_TRUE(error);
      EXPECT_NE(&source, error);
      EXPECT_EQ("detail", error->GetDetail());
   }
}

TEST(ThrowTest, KeepsTheArgumentsType)
{
   EXPECT_THROW(Throw(NullPointerError()), NullPointerError);
   EXPECT_THROW(Throw(42), int);
}

} // namespace
} // namespace cui
