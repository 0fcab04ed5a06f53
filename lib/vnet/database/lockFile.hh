// SPDX-License-Identifier: GPL-2.0-or-later
// The right to change the networks, which one process has at a time.
#pragma once

#include "vnet/database/descriptor.hh"

#include <chrono>
#include <string>
#include <sys/types.h>

namespace vnet {

// A lock on the file "networking.lock" of a folder (flock(2)), held as long as the object lives. It
// is the open file's, so two objects of one process exclude each other, too, and the death of its
// process ends it. The file goes with it. A child that inherits the object has no part in it.
class LockFile {
public:
   // Makes the folder, mode 0755, if it isn't there, and waits for the lock as long as patience
   // lasts. Throws Error if another holds it for longer, if the folder or file is a symbolic link,
   // or if others than its owner could change the folder.
   static LockFile Take(std::string const& folder, std::chrono::milliseconds patience);

   LockFile(LockFile&&) = default;
   LockFile& operator=(LockFile&&) = delete;
   ~LockFile();

private:
   LockFile(Descriptor openFolder, Descriptor openFile);

   Descriptor folder;
   Descriptor file;
   pid_t owner;
};

} // namespace vnet
