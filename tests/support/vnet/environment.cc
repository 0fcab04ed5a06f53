// SPDX-License-Identifier: GPL-2.0-or-later
// The shared double takes its orders from the environment when it is loaded.
#include "support/vnet/vnetDouble.hh"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>

namespace {

// A test that can't be set up as told must not go on as if it were.
[[noreturn]] void Refuse(char const* action, char const* path, char const* cause)
{
   std::fprintf(stderr, "%s %s: %s\n", action, path, cause);
   std::abort();
}

void TakeDatabase(char const* path)
{
   std::ifstream file(path);
   std::ostringstream text;
   if (!file) {
      Refuse("open the double's database", path, "no such file, or not readable");
   }
   text << file.rdbuf();
   try {
      test::VnetDouble::Reset(test::VnetDatabase::Parse(text.str()));
   } catch (std::exception const& error) {
      Refuse("take the double's database", path, error.what());
   }
}

void TakeLog(char const* path)
{
   int const fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
   if (fd == -1) {
      Refuse("open the double's log", path, "can't be written");
   }
   test::VnetDouble::SetTrace(fd);
}

[[gnu::constructor]] void TakeOrders()
{
   if (char const* const path = std::getenv("TAVRIN_DOUBLE_DB")) {
      TakeDatabase(path);
   }
   if (char const* const path = std::getenv("TAVRIN_DOUBLE_LOG")) {
      TakeLog(path);
   }
   if (char const* const function = std::getenv("TAVRIN_DOUBLE_STOP_AT")) {
      test::VnetDouble::StopAt(function);
   }
}

} // namespace
