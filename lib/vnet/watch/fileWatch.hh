// SPDX-License-Identifier: GPL-2.0-or-later
// A file that others write.
#pragma once

#include "base/fileDescriptor.hh"

#include <map>
#include <string>

namespace vnet::watch {

// Tells when a file may have become another one: when it, or what a symbolic link in its place
// leads to, is written, replaced, made or removed. By inotify(7), on the folders: a file that is
// replaced is another inode.
class FileWatch {
public:
   // Where the kernel gives no inotify instance, this is logged, and nothing is ever told.
   explicit FileWatch(std::string file);

   // Readable when there may be something to tell; negative if there never is.
   int GetDescriptor() const { return descriptor.Get(); }
   // Whether the file may have changed since the last call. Doesn't block.
   bool Read();

private:
   std::string path;
   base::FileDescriptor descriptor;
   std::map<int, std::string> names; // by the watch of their folder

   void Watch();
   void WatchOne(std::string const& file);
   bool Concerns(int watch, std::string const& name) const;
};

} // namespace vnet::watch
