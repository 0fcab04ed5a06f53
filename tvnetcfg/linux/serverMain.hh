// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace netcfg {

// The role that runs as root: serves the client's verbs until it is told to quit or the client has
// gone. argv[1] and argv[2] are the numbers of the client's descriptors to read requests from and
// to write replies to, argv[3] is the client's process id; argv has at least these entries,
// whatever argc says. Returns the exit status: 1 if the client can't be reached, otherwise 0.
int server_main(int argc, char** argv);

} // namespace netcfg
