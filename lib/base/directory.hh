// SPDX-License-Identifier: GPL-2.0-or-later
// Directories, held by descriptor so that what is done in them stays in them.
#pragma once

#include "base/fileDescriptor.hh"

#include <string>
#include <vector>

namespace base {

// Opens the directory of this absolute path, making what lacks of it with mode 0700. Its last
// component must not be a symbolic link. Closed, with errno set, on failure.
FileDescriptor MakeDirectory(std::string const& path);

// The names in the directory that fd refers to, without "." and "..".
std::vector<std::string> NamesIn(int fd);

} // namespace base
