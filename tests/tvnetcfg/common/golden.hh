// SPDX-License-Identifier: GPL-2.0-or-later
// The snapshots that the tests compare with.
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace netcfg::common {

// The text of golden/NAME.json; a missing file fails the test.
inline std::string Golden(std::string const& name)
{
   std::ifstream file(std::string(TEST_SOURCE_DIR) + "/golden/" + name + ".json");
   EXPECT_TRUE(file.is_open()) << name;
   return std::string(std::istreambuf_iterator<char>(file), {});
}

} // namespace netcfg::common
