// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "utf/string.hh"

namespace netcfg {

// Writes the request to save the snapshot to fd, the client's end of the request pipe, in a single
// write(2), and blocks until the server has taken it or has ended. True if anything was written.
bool WriteSaveMessage(int fd, utf::string const& snapshot);

} // namespace netcfg
