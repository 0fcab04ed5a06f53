// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace netcfg {

// The role that the desktop user starts: gets the privileged server going, asks it for the model
// and lets the user edit. argv is null-terminated. Returns the exit status: 0 when the user is done
// or no server could be forked, 1 when there is no server to work with.
int client_main(int argc, char** argv);

} // namespace netcfg
