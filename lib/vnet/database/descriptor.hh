// SPDX-License-Identifier: GPL-2.0-or-later
// The owner of an open file.
#pragma once

#include <unistd.h>
#include <utility>

namespace vnet {

class Descriptor {
public:
   explicit Descriptor(int descriptor = -1) : fd(descriptor) {}
   Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
   Descriptor& operator=(Descriptor&& other) noexcept
   {
      std::swap(fd, other.fd);
      return *this;
   }
   ~Descriptor()
   {
      if (fd >= 0) {
         close(fd);
      }
   }

   int Get() const { return fd; }
   explicit operator bool() const { return fd >= 0; }

private:
   int fd;
};

} // namespace vnet
