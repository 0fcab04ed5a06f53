// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/fileSteps.hh"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vnet {

int FileSteps::CreateNew(int folder, char const* name)
{
   return openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
}

ssize_t FileSteps::Write(int fd, char const* data, std::size_t size)
{
   return write(fd, data, size);
}

int FileSteps::SetMode(int fd, mode_t mode)
{
   return fchmod(fd, mode);
}

int FileSteps::Sync(int fd)
{
   return fsync(fd);
}

int FileSteps::Replace(int folder, char const* from, char const* to)
{
   return renameat(folder, from, folder, to);
}

int FileSteps::Place(int folder, char const* from, char const* to)
{
   return renameat2(folder, from, folder, to, RENAME_NOREPLACE);
}

int FileSteps::Remove(int folder, char const* name)
{
   return unlinkat(folder, name, 0);
}

FileSteps& FileSteps::GetReal()
{
   static FileSteps real;
   return real;
}

} // namespace vnet
