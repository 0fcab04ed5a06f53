// SPDX-License-Identifier: GPL-2.0-or-later
// The pipes of another process, opened by their place below /proc.
#pragma once

#include "base/fileDescriptor.hh"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace base {

// One descriptor of one process.
struct ClientPipe {
   pid_t pid;
   int number;
};

// True if path leads to descriptors of some process, in whatever spelling.
bool IsDescriptorPath(std::string_view path);

// What "/proc/<pid>/fd/<n>" names: both plain decimal numbers that fit an int, pid above 0. Nothing
// for every other text.
std::optional<ClientPipe> ParseClientPipe(std::string_view path);

// Opens that descriptor's pipe anew, close-on-exec, in the access mode of flags. Nothing of it
// blocks and nothing but a pipe is ever opened. Fails, with errno set, unless the process lives,
// MayLendPipe trusts it, and the pipe is an unnamed one of that process's user.
FileDescriptor OpenClientPipe(ClientPipe const& pipe, int flags);

} // namespace base
