// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/lockFile.hh"

#include "vnet/values/error.hh"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace vnet {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char fileName[] = "networking.lock";
// flock knows no deadline, and an alarm is the program's.
constexpr std::chrono::milliseconds interval(10);

Descriptor OpenFolder(std::string const& path)
{
   bool const made = mkdir(path.c_str(), 0755) == 0;
   if (!made && errno != EEXIST) {
      throw Error("create", path, std::strerror(errno));
   }
   Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
   // The process's file mode mask may have been stricter.
   if (!folder || (made && fchmod(folder.Get(), 0755) != 0)) {
      throw Error("open", path, std::strerror(errno));
   }
   return folder;
}

// In a folder that others change, the lock file could be anything, and anybody's.
void RequireOwn(Descriptor const& folder, std::string const& path)
{
   struct stat status;
   if (fstat(folder.Get(), &status) != 0) {
      throw Error("examine", path, std::strerror(errno));
   }
   if (status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
      throw Error("lock", path, "Others than this user can change the folder");
   }
}

Descriptor OpenFile(Descriptor const& folder, std::string const& path)
{
   int const flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
   Descriptor file(openat(folder.Get(), fileName, flags, 0600));
   if (!file) {
      throw Error("open", path + "/" + fileName, std::strerror(errno));
   }
   struct stat status;
   if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
      throw Error("lock", path + "/" + fileName, "It is not a regular file");
   }
   return file;
}

// Whether file is still the one with the name: its last holder took the name away.
bool IsInPlace(Descriptor const& folder, Descriptor const& file)
{
   struct stat named;
   struct stat opened;
   return fstatat(folder.Get(), fileName, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
          fstat(file.Get(), &opened) == 0 && named.st_dev == opened.st_dev &&
          named.st_ino == opened.st_ino;
}

bool TryLock(Descriptor const& file, std::string const& path)
{
   if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
      return true;
   }
   if (errno != EWOULDBLOCK && errno != EINTR) {
      throw Error("lock", path + "/" + fileName, std::strerror(errno));
   }
   return false;
}

} // namespace

LockFile::LockFile(Descriptor openFolder, Descriptor openFile)
   : folder(std::move(openFolder)), file(std::move(openFile)), owner(getpid())
{}

LockFile LockFile::Take(std::string const& folder, std::chrono::milliseconds patience)
{
   auto const deadline = Clock::now() + patience;
   auto opened = OpenFolder(folder);
   RequireOwn(opened, folder);
   auto file = OpenFile(opened, folder);
   while (!TryLock(file, folder) || !IsInPlace(opened, file)) {
      if (Clock::now() >= deadline) {
         throw Error("lock", folder + "/" + fileName, "Another process is changing the networks");
      }
      if (IsInPlace(opened, file)) {
         std::this_thread::sleep_for(interval);
      } else {
         file = OpenFile(opened, folder);
      }
   }
   return LockFile(std::move(opened), std::move(file));
}

LockFile::~LockFile()
{
   if (!file || getpid() != owner) {
      return;
   }
   // The name first: whoever waits for this file then sees that it is no longer the one.
   unlinkat(folder.Get(), fileName, 0);
   // Not by closing alone, which a child that has a copy of the descriptor would outlast.
   flock(file.Get(), LOCK_UN);
}

} // namespace vnet
