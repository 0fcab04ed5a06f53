// SPDX-License-Identifier: GPL-2.0-or-later
// Whose a socket is.
#pragma once

#include "vnet/host/sockets.hh"

#include <string>

namespace vnet::doctor {

// The unit of systemd's that made the socket: "named.service"; empty for one of a user's session,
// or that no unit made. The processes of others may not be looked into even by root without its
// special rights, but the control group of a socket is no secret: its number is that of its folder
// below `cgroupRoot`, where cgroup2 is mounted.
std::string FindUnit(std::string const& cgroupRoot, host::Socket const& socket);

// A command that frees the socket's port, or if nothing is known of its owner, one that names it.
std::string GetFreeing(std::string const& unit, host::Socket const& socket);

} // namespace vnet::doctor
