// SPDX-License-Identifier: GPL-2.0-or-later
// One executable, two roles: the editor that the user starts, and the server that it starts.
#include "base/preference.h"
#include "base/privilege.h"
#include "base/unicode.h"
#include "lui/installation.hh"
#include "lui/localization.hh"
#include "tvnetcfg/linux/clientModule.hh"
#include "tvnetcfg/linux/serverMain.hh"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

namespace {

using namespace netcfg;

// As a library that was linked would be: what GTK loads in its turn finds it.
int RunClient(char** arguments)
{
   std::string const module =
      std::string(lui::Utils::GetLibDir().c_str()) + "/tavrin-netcfg/" + CLIENT_MODULE;
   void* const loaded = dlopen(module.c_str(), RTLD_LAZY | RTLD_GLOBAL);
   void* const entry = loaded ? dlsym(loaded, CLIENT_ENTRY) : nullptr;
   if (!entry) {
      std::fprintf(stderr, "tavrin-netcfg: %s\n", dlerror());
      return EXIT_FAILURE;
   }
   return reinterpret_cast<ClientEntry>(entry)(1, arguments);
}

int RunServer(int argc, char** arguments)
{
   lui::Utils::InitLocalization();
   return server_main(argc, arguments);
}

} // namespace

int main(int argc, char** argv)
{
   // The count alone decides, so that root's client is a client too.
   bool const isClient = argc == 1;
   if (!isClient) {
      Privilege_CleanUp();
   }

   char** arguments = argv;
   Unicode_Init(argc, &arguments, nullptr);
   Preference_Init();
   return isClient ? RunClient(arguments) : RunServer(argc, arguments);
}
