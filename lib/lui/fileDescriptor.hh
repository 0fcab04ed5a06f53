// SPDX-License-Identifier: GPL-2.0-or-later
// A file descriptor with one owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace lui {

// Closes its descriptor at its end. A negative one means that there is none.
class FileDescriptor {
public:
   FileDescriptor() = default;
   explicit FileDescriptor(int descriptor) : fd(descriptor) {}
   ~FileDescriptor() { Reset(); }
   FileDescriptor(FileDescriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
   FileDescriptor& operator=(FileDescriptor&& other) noexcept
   {
      std::swap(fd, other.fd);
      return *this;
   }

   int Get() const { return fd; }
   bool IsOpen() const { return fd >= 0; }

   void Reset()
   {
      if (IsOpen()) {
         close(std::exchange(fd, -1));
      }
   }

private:
   int fd = -1;
};

} // namespace lui
