// SPDX-License-Identifier: GPL-2.0-or-later
// The languages that have a catalogue.
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace test {

// In the order of po/LINGUAS, which PO_DIR leads to.
inline std::vector<std::string> ReadLanguages()
{
   std::ifstream file(PO_DIR "/LINGUAS");
   std::vector<std::string> languages;
   for (std::string line; std::getline(file, line);) {
      if (!line.empty() && line.front() != '#') {
         languages.push_back(line);
      }
   }
   return languages;
}

inline std::string NameLanguage(testing::TestParamInfo<std::string> const& info)
{
   return info.param;
}

} // namespace test
