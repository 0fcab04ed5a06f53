// SPDX-License-Identifier: GPL-2.0-or-later
// Where the system bus of D-Bus is.
#pragma once

namespace vnet::process {

inline constexpr char const* systemBusSocket = "/run/dbus/system_bus_socket";
inline constexpr char const* systemBusAddress = "unix:path=/run/dbus/system_bus_socket";

} // namespace vnet::process
