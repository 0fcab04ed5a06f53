// SPDX-License-Identifier: GPL-2.0-or-later
// Small files in folders of ours. A folder in which a file is to be must not be a symbolic link.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace vnet::process {

// Makes the folder and what lacks above it, mode 0755. Throws Error, also if it or the one above it
// is a symbolic link or a folder in which others may put something else in its place.
void MakeFolder(std::string const& path);

// Replaces the file whole by a new one with mode 0644. Whatever stands at path, a symbolic link
// too, is replaced and not followed. Not for what must survive a power failure. Throws Error.
void ReplaceFile(std::string const& path, std::string const& text);

// The text of a regular file of at most 1 MiB, following no symbolic link. Empty for anything else,
// and if there is none. Throws Error if it can't be read.
std::optional<std::string> ReadSmallFile(std::string const& path);
// The same for a file with this name alone that only its owner may change, who is root or us. Else
// empty.
std::optional<std::string> ReadTrustedFile(std::string const& path);

// Removes what stands at path unless it is a regular file with this name alone that only its owner
// may change, who is root or us; follows no symbolic link. For a file that another program opens by
// its name. True if something was removed. Throws Error.
bool RemoveUnlessOurs(std::string const& path);

// Whether something is there. What can't be looked at may be.
bool MayExist(std::string const& path);

// What isn't there is no failure. Throws Error.
void RemoveFile(std::string const& path);

// Removes what calls of ReplaceFile that were cut short left in a folder, which may be missing. To
// be called where no other writes there. Throws Error.
void RemoveLeftovers(std::string const& folder);

} // namespace vnet::process
