// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/linux/clientModule.hh"

#include "lui/localization.hh"
#include "tvnetcfg/linux/clientMain.hh"

#include <type_traits>

extern "C" [[gnu::visibility("default")]] int netcfg_client(int argc, char** argv);

int netcfg_client(int argc, char** argv)
{
   static_assert(std::is_same_v<decltype(&netcfg_client), netcfg::ClientEntry>);
   lui::Utils::InitLocalization();
   return netcfg::client_main(argc, argv);
}
