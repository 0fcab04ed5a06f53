// SPDX-License-Identifier: GPL-2.0-or-later
// From a key file to settings.
#pragma once

#include "vnet/values/settings.hh"

#include <string>
#include <vector>

namespace vnet {

class KeyFile;

// The version of the file's layout that this library writes, and the newest that it reads.
inline constexpr unsigned int databaseVersion = 1;

struct Decoded {
   Settings settings;
   // What was left out, in the order of the file: "[tvnet8] mtu: "abc" isn't a number from 68 to
   // 9194". A value that doesn't parse counts as never set, and a forward without a good address
   // and port as not there.
   std::vector<std::string> complaints;
   // Groups and keys that mean nothing to us: "[tvnet8] "colour"".
   std::vector<std::string> unknown;
};

// Throws std::runtime_error with the cause if the version is missing, isn't a number, or is newer
// than databaseVersion.
Decoded Decode(KeyFile const& file);

// The order of forwards: TCP first, then by host port.
bool IsBefore(PortForward const& one, PortForward const& other);

} // namespace vnet
