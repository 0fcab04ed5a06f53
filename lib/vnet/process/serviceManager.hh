// SPDX-License-Identifier: GPL-2.0-or-later
// Whether the host has a service manager that can run services for us.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace vnet::process {

// Where the manager is looked for.
struct ManagerPlace {
   std::string bootedFolder = "/run/systemd/system"; // sd_booted(3)
   pid_t process = 1;
   std::string program = "systemd"; // as that process calls itself
};

// Why none can; empty if one can. A service of its is in its own network and among its own files,
// whoever asks for it. So in a container, a sandbox or a network namespace, where the host's
// manager may well be in reach, it is no use: it has to be in our network namespace, and each of
// the folders has to be the same one for it and for us.
std::optional<std::string> FindManagerObstacle(std::vector<std::string> const& folders,
                                               ManagerPlace const& place = {});

// Which folder of which file system has the path, by a text such as /proc/self/mountinfo: "0:25
// /tavrin". Empty if the text doesn't tell. Symbolic links aren't followed.
std::optional<std::string> LocateFolder(std::string_view mounts, std::string const& path);

} // namespace vnet::process
