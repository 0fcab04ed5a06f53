// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/preference.h"
#include "base/unicode.h"
#include "lui/localization.hh"
#include "tvnetcfg/linux/clientMain.hh"
#include "tvnetcfg/linux/modules.hh"

#include <type_traits>

extern "C" [[gnu::visibility("default")]] int netcfg_client(int argc, char** argv)
{
   static_assert(std::is_same_v<decltype(netcfg_client), netcfg::RoleEntry>);
   Unicode_Init(argc, &argv, nullptr);
   Preference_Init();
   lui::Utils::InitCatalogues();
   return netcfg::client_main(argc, argv);
}
