// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/cui/languages.hh"

#include <glib.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace cui {

namespace fs = std::filesystem;

namespace {

// Runs a program to its end. False, with a failed expectation, unless its status is 0.
bool Run(std::vector<std::string> const& command)
{
   std::vector<char*> arguments;
   for (std::string const& argument : command) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
   }
   arguments.push_back(nullptr);
   char* errors = nullptr;
   int status = -1;
   bool const ran = g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr,
                                 nullptr, nullptr, &errors, &status, nullptr);
   EXPECT_TRUE(ran && status == 0) << command[0] << ": " << (errors ? errors : "can't be run");
   g_free(errors);
   return ran && status == 0;
}

} // namespace

Languages::Languages()
{
   fs::create_directory(top / "locales");
   setenv("LOCPATH", (top / "locales").c_str(), 1);
   unsetenv("LANGUAGE");
}

Languages::~Languages()
{
   std::setlocale(LC_ALL, "C");
   unsetenv("LANGUAGE");
   unsetenv("LOCPATH");
}

bool Languages::Speak(std::string const& language, std::string const& charset,
                      std::string const& source)
{
   std::string const name = language + "_XX." + charset;
   // -c: the charmap may lack characters that the locale's source names.
   bool const compiled =
      Run({"localedef", "-c", "--quiet", "-i", source, "-f", charset, top / "locales" / name});
   bool const taken = compiled && std::setlocale(LC_ALL, name.c_str());
   EXPECT_TRUE(taken) << name;
   return taken;
}

bool Languages::AddCatalogue(std::string const& language, std::string const& entries)
{
   fs::path const source = top / (language + ".po");
   std::ofstream(source) << "msgid \"\"\n"
                         << "msgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n"
                         << entries;
   fs::create_directories(GetCatalogueFile(language).parent_path());
   return Run({"msgfmt", "-o", GetCatalogueFile(language), source});
}

fs::path Languages::GetCatalogueFile(std::string const& language) const
{
   return fs::path(GetDirectory()) / language / "LC_MESSAGES" / "tavrin-netcfg.mo";
}

} // namespace cui
