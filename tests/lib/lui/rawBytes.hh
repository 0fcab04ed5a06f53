// SPDX-License-Identifier: GPL-2.0-or-later
// Bytes through a pipe, whatever they mean.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <unistd.h>

namespace test {

// What one read(2) of at most count bytes gives; empty at the end of the file or on failure.
inline std::string ReadBytes(int fd, std::size_t count)
{
   std::string bytes(count, '?');
   ssize_t const got = read(fd, bytes.data(), count);
   return bytes.substr(0, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

// False if not all could be written.
inline bool WriteBytes(int fd, std::string_view bytes)
{
   while (!bytes.empty()) {
      ssize_t const sent = write(fd, bytes.data(), bytes.size());
      if (sent < 0) {
         return false;
      }
      bytes.remove_prefix(static_cast<std::size_t>(sent));
   }
   return true;
}

} // namespace test
