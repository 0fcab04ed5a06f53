// SPDX-License-Identifier: GPL-2.0-or-later
// One executable, two roles: the editor that the user starts, and the server that it starts.
#include "base/preference.h"
#include "base/unicode.h"
#include "lui/localization.hh"
#include "tvnetcfg/linux/clientMain.hh"
#include "tvnetcfg/linux/serverMain.hh"

int main(int argc, char** argv)
{
   char** arguments = argv;
   Unicode_Init(argc, &arguments, nullptr);
   Preference_Init();
   lui::Utils::InitLocalization();

   // The count alone decides, so that root's client is a client too.
   if (argc == 1) {
      return netcfg::client_main(1, arguments);
   }
   return netcfg::server_main(argc, arguments);
}
