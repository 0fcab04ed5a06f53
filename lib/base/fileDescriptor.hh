// SPDX-License-Identifier: GPL-2.0-or-later
// The owner of one file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

namespace base {

// Closes what it holds; -1 holds nothing.
class FileDescriptor {
public:
   FileDescriptor() = default;
   explicit FileDescriptor(int fd) : fd(fd) {}
   FileDescriptor(FileDescriptor&& other) noexcept : fd(other.Release()) {}
   ~FileDescriptor() { Reset(); }
   FileDescriptor& operator=(FileDescriptor&& other) noexcept
   {
      Reset(other.Release());
      return *this;
   }

   int Get() const { return fd; }
   bool IsOpen() const { return fd >= 0; }
   int Release() { return std::exchange(fd, -1); }

private:
   void Reset(int other = -1)
   {
      if (fd >= 0) {
         ::close(fd);
      }
      fd = other;
   }

   int fd = -1;
};

} // namespace base
