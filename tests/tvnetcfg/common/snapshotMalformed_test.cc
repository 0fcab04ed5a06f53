// SPDX-License-Identifier: GPL-2.0-or-later
// Texts that are no snapshot at all.
#include "tvnetcfg/common/golden.hh"
#include "tvnetcfg/common/snapshotText.hh"

#include <gtest/gtest.h>

namespace netcfg::common {

namespace {

class MalformedSnapshotTest : public testing::TestWithParam<char const*> {};

} // namespace

TEST(MalformedSnapshotTest, ATextWithANulIsNoJSON)
{
   std::string const text = Golden("empty") + std::string(1, '\0');

   EXPECT_EQ(nullptr, Editable::Restore(utf::string(text.data(), text.size())));
}

TEST_P(MalformedSnapshotTest, GivesNoModel)
{
   EXPECT_EQ(nullptr, Read(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
   Texts, MalformedSnapshotTest,
   testing::Values("", " ", "\n", "x", "{", "}", "[", "]", "{]", "[}", "{}}", "{} {}", "{},",
                   "[1,]", "{,}", R"({"a"})", R"({"a":})", R"({"a":1,})", R"({a:1})",
                   R"({"a":1 "b":2})", R"({"a":"b)", R"({"a":"b\)", R"({"a":"\q"})",
                   R"({"a":"\u12"})", R"({"a":"\uD834"})", R"({"a":"\uD834x"})",
                   R"({"a":"\uD834\u0041"})", R"({"a":"\uDD1E"})", "{\"a\":\"b\nc\"}",
                   "{\"a\":\"\x01\"}", R"({"a":'b'})", R"({"a":tru})", R"({"a":01})", R"({"a":+1})",
                   R"({"a":1.})", R"({"a":.5})", R"({"a":NaN})",
                   R"({"MaxNetworks":"20","Networks":")", "Fail", "Fail\nmessage", "Success",
                   "// {}\n{}", "{\xFF}", "{}\xFF"));

TEST(SnapshotDepthTest, SixtyFourLevelsAreReadAndSixtyFiveAreNot)
{
   auto text = [](unsigned int levels) {
      std::string empty = Golden("empty");
      // The root is a level itself.
      std::string const extra = std::string(levels - 1, '[') + std::string(levels - 1, ']');
      return empty.replace(0, 1, R"({"Extra":)" + extra + ",");
   };

   EXPECT_NE(nullptr, Read(text(64)));
   EXPECT_EQ(nullptr, Read(text(65)));
}

TEST(SnapshotDepthTest, AMillionBracketsAreRefused)
{
   std::string const open(1000000, '[');
   std::string objects;
   for (int i = 0; i < 1000000; ++i) {
      objects += R"({"a":)";
   }
   EXPECT_EQ(nullptr, Read(open));
   EXPECT_EQ(nullptr, Read(open + std::string(1000000, ']')));
   EXPECT_EQ(nullptr, Read(std::string(1000000, '{')));
   EXPECT_EQ(nullptr, Read(objects));
   EXPECT_EQ(nullptr, Read(Golden("empty") + open));
}

TEST(SnapshotDepthTest, BracketsInATextDoNotCount)
{
   Editable written(20);
   utf::string const brackets = std::string(1000, '[').c_str();
   utf::string const quoted = utf::string("\"\\") + brackets;
   written.AddNetwork(Network::NAT, 2, false, OnDone())->SetDisplayName(quoted);

   EXPECT_EQ(quoted, RoundTrip(written)->GetNetwork(2)->GetDisplayName());
}

} // namespace netcfg::common
