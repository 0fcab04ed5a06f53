// SPDX-License-Identifier: GPL-2.0-or-later
// What the program loads to be a client.
#pragma once

namespace netcfg {

// In the folder "tavrin-netcfg" of our libraries.
constexpr auto CLIENT_MODULE = "client.so";
constexpr auto CLIENT_ENTRY = "netcfg_client";

// Takes the user's locale for the windows and runs client_main, whose exit status it returns.
using ClientEntry = int (*)(int argc, char** argv);

} // namespace netcfg
