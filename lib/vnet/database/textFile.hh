// SPDX-License-Identifier: GPL-2.0-or-later
// A file that is read whole and replaced whole.
#pragma once

#include "vnet/database/descriptor.hh"
#include "vnet/database/fileSteps.hh"

#include <cstddef>
#include <string>
#include <sys/stat.h>

namespace vnet {

// What tells one state of a file from another: a file in its place, or one written anew, differs.
struct Stamp {
   dev_t device = 0;
   ino_t inode = 0;
   off_t size = 0;
   timespec modified{};
   timespec changed{}; // of its inode

   static Stamp Of(struct stat const& status);
   bool operator==(Stamp const& other) const;
};

struct TextFile {
   std::string text;
   Stamp stamp;
   // As long as it is open, no other file gets its inode number.
   Descriptor file;
};

// The stamp of what stands at path, without following a symbolic link; empty (all 0) if nothing
// does.
Stamp GetStamp(std::string const& path);

// Reads a regular file of at most maxBytes. Throws Error for anything else: a symbolic link (the
// folders above may be links), a device or FIFO, for which it doesn't wait, a larger file, and one
// that can't be opened.
TextFile ReadTextFile(std::string const& path, std::size_t maxBytes);

enum class Existing { Replace, Refuse };

// Removes the new file beside path that a process left when it died. Nothing there, and a folder
// that can't be written, are no failures: the next writing sees to it. The caller holds a lock.
void RemoveUnfinished(std::string const& path);

// Writes text to the file at path, mode 0644, and to the disk: a new file beside it
// (".<name>.new", in place of one that a process left when it died), synced, renamed over it, and
// the folder synced. So path always names the old file or the new one, whole, and an Error from a
// step before the renaming leaves the old. One at a time: the caller holds a lock. Returns the
// stamp of the file written.
Stamp WriteTextFile(std::string const& path, std::string const& text, Existing existing,
                    FileSteps& steps);

} // namespace vnet
