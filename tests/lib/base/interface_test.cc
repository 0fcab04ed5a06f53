// SPDX-License-Identifier: GPL-2.0-or-later
// The shared library against its headers.
#include "support/testProcess.hh"

#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

extern "C" int CallFromC(char** argv);

namespace {

using Names = std::set<std::string>;

// The functions that the headers declare; a call in a macro isn't a declaration.
Names DeclaredNames()
{
   // A declaration is a line that begins with a type and goes on to a name and a parenthesis.
   std::regex const declaration(R"((?:^|\n)(?:__attribute__\(\(.*\)\) )?[A-Za-z][A-Za-z ]*[ *]+)"
                                R"(([A-Z][A-Za-z]*(?:_[A-Za-z]+)?)\()");
   Names names;
   for (auto const& entry : std::filesystem::directory_iterator(BASE_HEADERS)) {
      if (entry.path().extension() != ".h") {
         continue;
      }
      std::string text = test::ReadFile(entry.path());
      for (std::sregex_iterator i(text.begin(), text.end(), declaration), end; i != end; ++i) {
         names.insert((*i)[1]);
      }
   }
   return names;
}

// What the library offers, but for what templates of the standard library leave in it.
Names ExportedNames()
{
   test::TestProcess nm({NM, "-D", "--defined-only", "--format=posix", BASE_LIBRARY});
   EXPECT_TRUE(test::ExitedWith(nm.Wait(), 0)) << nm.GetOutput();
   std::istringstream lines(nm.GetOutput());
   Names names;
   for (std::string line; std::getline(lines, line);) {
      std::string name = line.substr(0, line.find(' '));
      if (!name.starts_with("_Z") && !name.starts_with("__")) {
         names.insert(name);
      }
   }
   return names;
}

TEST(InterfaceTest, TheLibraryExportsWhatItsHeadersDeclareAndNothingElse)
{
   Names declared = DeclaredNames();
   EXPECT_EQ(1u, declared.count("Panic"));
   EXPECT_EQ(1u, declared.count("Str_Sprintf"));
   EXPECT_EQ(declared, ExportedNames());
}

TEST(InterfaceTest, AProgramInCCanUseIt)
{
   char program[] = "program";
   char number[] = "41";
   char* argv[] = {program, number, nullptr};
   EXPECT_EQ(42, CallFromC(argv));
}

} // namespace
