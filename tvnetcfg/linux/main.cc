// SPDX-License-Identifier: GPL-2.0-or-later
// One executable, two roles: the editor that the user starts, and the server that it starts.
#include "base/preference.h"
#include "base/privilege.h"
#include "base/unicode.h"
#include "lui/localization.hh"
#include "tvnetcfg/linux/clientMain.hh"
#include "tvnetcfg/linux/serverMain.hh"

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
   lui::Utils::InitLocalization();

   return isClient ? netcfg::client_main(1, arguments) : netcfg::server_main(argc, arguments);
}
