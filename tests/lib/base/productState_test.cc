// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/productState.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(ProductStateTest, TheConstantsAreThoseOfTheBuild)
{
   EXPECT_STREQ("tavrin-netcfg", ProductState_GetName());
   EXPECT_STREQ(PRODUCT_VERSION, ProductState_GetVersion());
   EXPECT_STREQ("build-" BUILD_NUMBER, ProductState_GetBuildNumberString());
   EXPECT_STREQ(BUILD_TYPE, ProductState_GetCompilationOption());
}

TEST(ProductStateTest, EachHelpSystemHasTheVersionSetLast)
{
   std::string version = "16.2.3";
   ProductState_SetHelp(1, "1.0");
   ProductState_SetHelp(1, version.c_str());
   ProductState_SetHelp(2, nullptr);
   version = "changed";

   EXPECT_STREQ("16.2.3", ProductState_GetHelp(1));
   EXPECT_STREQ("", ProductState_GetHelp(2));
   EXPECT_STREQ("", ProductState_GetHelp(3));
}

} // namespace
