// SPDX-License-Identifier: GPL-2.0-or-later
// What the program loads, from the folder "tavrin-netcfg" of our libraries. Each module has one
// entry.
#pragma once

namespace netcfg {

// Prepares what its role stands on and runs server_main or client_main, whose exit status it
// returns. For a client the locale has been taken and GTK started.
using RoleEntry = int(int argc, char** argv);
constexpr auto SERVER_MODULE = "server.so";
constexpr auto SERVER_ENTRY = "netcfg_server";
constexpr auto CLIENT_MODULE = "client.so";
constexpr auto CLIENT_ENTRY = "netcfg_client";

// Starts GTK, on the thread that will run the windows. Tells nothing of a failure: who starts GTK
// again meets the same one. The locale has been taken.
using ToolkitEntry = void(int argc, char** argv);
constexpr auto TOOLKIT_MODULE = "toolkit.so";
constexpr auto TOOLKIT_ENTRY = "netcfg_toolkit";

} // namespace netcfg
