// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/posix.h"

#include "base/clientPipe.hh"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

int Posix_Open(const char* path, int flags)
{
   if (!path) {
      errno = EINVAL;
      return -1;
   }
   if (!base::IsDescriptorPath(path)) {
      return open(path, flags | O_CLOEXEC, S_IRUSR | S_IWUSR);
   }
   std::optional<base::ClientPipe> pipe = base::ParseClientPipe(path);
   if (!pipe) {
      errno = EINVAL;
      return -1;
   }
   return base::OpenClientPipe(*pipe, flags).Release();
}

int Posix_Execv(const char* path, char* const argv[])
{
   return execv(path, argv);
}

char* Posix_Getenv(const char* name)
{
   return getenv(name);
}
