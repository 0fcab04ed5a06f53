// SPDX-License-Identifier: GPL-2.0-or-later
// What the shared library shows to those who link it.
#include "vnet/vnetlib.h"

#include <algorithm>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

namespace {

std::set<std::string> GetDeclared()
{
   std::ifstream file(VNETLIB_HEADER);
   std::string const text((std::istreambuf_iterator<char>(file)), {});
   std::regex const declaration("VNL_API [^;]*?\\b(VNL_[A-Za-z0-9]+)\\(");
   std::set<std::string> names;
   for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
      names.insert((*at)[1]);
   }
   return names;
}

std::set<std::string> GetExported()
{
   auto const command = std::string(NM_PROGRAM) + " -D --defined-only '" + VNETLIB_FILE + "'";
   std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
   std::set<std::string> names;
   char line[1000];
   while (output && std::fgets(line, sizeof line, output.get())) {
      std::istringstream words(line);
      std::string value;
      std::string type;
      std::string name;
      words >> value >> type >> name;
      names.insert(name);
   }
   return names;
}

TEST(ExportsTest, TheLibraryShowsTheInterfaceAndNothingElse)
{
   auto const declared = GetDeclared();

   EXPECT_EQ(38u, declared.size());
   EXPECT_EQ(declared, GetExported());
}

TEST(ExportsTest, TheLibraryWorksWhenItIsLoaded)
{
   void* const library = dlopen(VNETLIB_FILE, RTLD_NOW | RTLD_LOCAL);
   ASSERT_TRUE(library) << dlerror();
   auto const count =
      reinterpret_cast<decltype(&VNL_GetNumberOfVnets)>(dlsym(library, "VNL_GetNumberOfVnets"));
   auto const setMtu =
      reinterpret_cast<decltype(&VNL_SetVnetMTU)>(dlsym(library, "VNL_SetVnetMTU"));
   ASSERT_TRUE(count && setMtu);

   EXPECT_EQ(256u, count());
   // An exception is thrown and caught within the library.
   EXPECT_FALSE(setMtu("tvnet8", 1500));
   dlclose(library);
}

} // namespace
