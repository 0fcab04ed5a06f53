// SPDX-License-Identifier: GPL-2.0-or-later
// The text of a document to apply.
#pragma once

#include "base/fileDescriptor.hh"

#include <string>

namespace vnet::cli {

// Opens a file, or the standard input for "-". To be done with the rights and in the folder of
// whoever names it. Throws Error.
base::FileDescriptor OpenDocument(std::string const& path);
// Reads no more than a little above what a document may have. Throws Error.
std::string ReadDocument(int descriptor, std::string const& path);

} // namespace vnet::cli
