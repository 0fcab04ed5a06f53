// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/documentFile.hh"

#include "vnet/document/document.hh"
#include "vnet/values/error.hh"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vnet::cli {

base::FileDescriptor OpenDocument(std::string const& path)
{
   base::FileDescriptor file(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                         : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
   if (!file.IsOpen()) {
      throw Error("open", path, std::strerror(errno));
   }
   return file;
}

std::string ReadDocument(int descriptor, std::string const& path)
{
   std::string text;
   std::array<char, 65536> buffer;
   while (text.size() <= document::maxBytes) {
      ssize_t const count = read(descriptor, buffer.data(), buffer.size());
      if (count < 0 && errno == EINTR) {
         continue;
      }
      if (count < 0) {
         throw Error("read", path, std::strerror(errno));
      }
      if (count == 0) {
         break;
      }
      text.append(buffer.data(), static_cast<std::size_t>(count));
   }
   return text;
}

} // namespace vnet::cli
