// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/preference.h"
#include "base/privilege.h"
#include "base/unicode.h"
#include "lui/localization.hh"
#include "tvnetcfg/linux/modules.hh"
#include "tvnetcfg/linux/serverMain.hh"

#include <type_traits>

extern "C" [[gnu::visibility("default")]] int netcfg_server(int argc, char** argv)
{
   static_assert(std::is_same_v<decltype(netcfg_server), netcfg::RoleEntry>);
   Privilege_CleanUp();
   Unicode_Init(argc, &argv, nullptr);
   Preference_Init();
   lui::Utils::InitLocalization();
   return netcfg::server_main(argc, argv);
}
