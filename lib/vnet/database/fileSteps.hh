// SPDX-License-Identifier: GPL-2.0-or-later
// The steps in which a file is replaced, one by one.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace vnet {

// Each step is the system call, with its result and errno. Tests let one fail, or end the process
// there.
class FileSteps {
public:
   virtual ~FileSteps() = default;

   // openat(2) of a new file for writing, which isn't there in any form.
   virtual int CreateNew(int folder, char const* name);
   virtual ssize_t Write(int fd, char const* data, std::size_t size);
   virtual int SetMode(int fd, mode_t mode);
   // Of a file or a folder.
   virtual int Sync(int fd);
   // Takes the place of what is there.
   virtual int Replace(int folder, char const* from, char const* to);
   // EEXIST if something is there.
   virtual int Place(int folder, char const* from, char const* to);
   virtual int Remove(int folder, char const* name);

   // The steps as the system takes them.
   static FileSteps& GetReal();
};

} // namespace vnet
