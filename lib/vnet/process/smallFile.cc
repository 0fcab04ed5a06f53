// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/smallFile.hh"

#include "base/fileDescriptor.hh"
#include "base/log.h"
#include "vnet/values/error.hh"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vnet::process {

namespace {

using base::FileDescriptor;
namespace fs = std::filesystem;

constexpr std::size_t maxSize = 1 << 20;
// A new file until it is in its place.
constexpr auto freshPrefix = ".";
constexpr auto freshSuffix = ".new";
constexpr mode_t writableForOthers = S_IWGRP | S_IWOTH;

[[noreturn]] void Fail(std::string const& action, std::string const& object)
{
   throw Error(action, object, std::strerror(errno));
}

bool IsTrusted(struct stat const& status)
{
   return (status.st_uid == 0 || status.st_uid == geteuid()) &&
          (status.st_mode & writableForOthers) == 0;
}

// What has a second name is somebody else's, too.
bool IsPlain(struct stat const& status)
{
   return S_ISREG(status.st_mode) && status.st_nlink == 1;
}

// Whatever the umask says.
void MakeOne(fs::path const& path)
{
   if (mkdir(path.c_str(), 0755) == 0) {
      chmod(path.c_str(), 0755);
   } else if (errno != EEXIST) {
      Fail("make folder", path);
   }
}

// A symbolic link in its place isn't followed.
FileDescriptor OpenFolder(fs::path const& path)
{
   return FileDescriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

FileDescriptor OpenParent(fs::path const& path)
{
   auto folder = OpenFolder(path.parent_path());
   if (!folder.IsOpen()) {
      Fail("open folder", path.parent_path());
   }
   return folder;
}

// Of files in a folder where all may make some, everyone's own are safe from others.
bool IsShared(struct stat const& status)
{
   return status.st_uid == 0 && (status.st_mode & S_ISVTX) != 0;
}

enum class Sharing { Refused, Allowed };

void RequireOwn(fs::path const& path, Sharing sharing)
{
   auto const folder = OpenFolder(path);
   if (!folder.IsOpen() && (errno == ENOTDIR || errno == ELOOP)) {
      throw Error("make folder", path, "something else is there");
   }
   struct stat status;
   if (!folder.IsOpen() || fstat(folder.Get(), &status) != 0) {
      Fail("make folder", path);
   }
   if (!IsTrusted(status) && !(sharing == Sharing::Allowed && IsShared(status))) {
      throw Error("make folder", path, "others may change it");
   }
}

bool WriteAll(int file, std::string_view text)
{
   while (!text.empty()) {
      ssize_t const written = write(file, text.data(), text.size());
      if (written < 0 && errno == EINTR) {
         continue;
      }
      if (written < 0) {
         return false;
      }
      text.remove_prefix(static_cast<std::size_t>(written));
   }
   return true;
}

// Nobody but root can have put it there, but root should know.
void TellOfStranger(int folder, std::string const& name, std::string const& path)
{
   struct stat status;
   if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && !IsPlain(status)) {
      Warning("write %s: %s is no plain file, and isn't kept\n", path.c_str(), name.c_str());
   }
}

bool WriteNew(int folder, std::string const& name, std::string const& text)
{
   unlinkat(folder, name.c_str(), 0);
   FileDescriptor const file(
      openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
   return file.IsOpen() && WriteAll(file.Get(), text) && fchmod(file.Get(), 0644) == 0;
}

// Why an opening failed: nothing is there, or a link or something that can't be opened. A file that
// is there and can't be read just now mustn't be taken for a missing one.
bool IsNoFile(int cause)
{
   return cause == ENOENT || cause == ENOTDIR || cause == ELOOP || cause == ENXIO ||
          cause == ENODEV;
}

FileDescriptor OpenForReading(fs::path const& path)
{
   auto const folder = OpenFolder(path.parent_path());
   if (!folder.IsOpen()) {
      return {};
   }
   return FileDescriptor(openat(folder.Get(), path.filename().c_str(),
                                O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

std::optional<std::string> Read(fs::path const& path, bool onlyTrusted)
{
   auto const file = OpenForReading(path);
   struct stat status;
   if (file.IsOpen() ? fstat(file.Get(), &status) != 0 : !IsNoFile(errno)) {
      Fail("read", path);
   }
   if (!file.IsOpen() || !S_ISREG(status.st_mode) ||
       (onlyTrusted && !(IsPlain(status) && IsTrusted(status)))) {
      return {};
   }
   std::string text;
   std::array<char, 4096> buffer;
   ssize_t got = 0;
   do {
      got = read(file.Get(), buffer.data(), buffer.size());
      if (got < 0 && errno != EINTR) {
         Fail("read", path);
      }
      text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
   } while (got != 0 && text.size() <= maxSize);
   return text.size() <= maxSize ? std::optional(text) : std::nullopt;
}

} // namespace

void MakeFolder(std::string const& path)
{
   fs::path made;
   for (auto const& part : fs::path(path)) {
      made /= part;
      MakeOne(made);
   }
   RequireOwn(made.parent_path(), Sharing::Allowed);
   RequireOwn(made, Sharing::Refused);
}

void ReplaceFile(std::string const& path, std::string const& text)
{
   fs::path const target(path);
   auto const folder = OpenParent(target);
   std::string const name = target.filename();
   std::string const fresh = freshPrefix + name + freshSuffix;
   TellOfStranger(folder.Get(), name, path);
   TellOfStranger(folder.Get(), fresh, path);
   if (!WriteNew(folder.Get(), fresh, text) ||
       renameat(folder.Get(), fresh.c_str(), folder.Get(), name.c_str()) != 0) {
      int const cause = errno;
      unlinkat(folder.Get(), fresh.c_str(), 0);
      throw Error("write", path, std::strerror(cause));
   }
}

std::optional<std::string> ReadSmallFile(std::string const& path)
{
   return Read(path, false);
}

std::optional<std::string> ReadTrustedFile(std::string const& path)
{
   return Read(path, true);
}

void RemoveLeftovers(std::string const& folder)
{
   auto const held = OpenFolder(folder);
   if (!held.IsOpen() && IsNoFile(errno)) {
      return;
   }
   // By its descriptor: the name could lead elsewhere by now.
   std::error_code error;
   auto entry = fs::directory_iterator("/proc/self/fd/" + std::to_string(held.Get()), error);
   for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      std::error_code none;
      std::string const name = entry->path().filename();
      if (name.starts_with(freshPrefix) && name.ends_with(freshSuffix) &&
          entry->symlink_status(none).type() == fs::file_type::regular &&
          unlinkat(held.Get(), name.c_str(), 0) != 0 && errno != ENOENT) {
         Fail("remove", folder + "/" + name);
      }
   }
   if (error) {
      throw Error("list", folder, error.message());
   }
}

bool MayExist(std::string const& path)
{
   return access(path.c_str(), F_OK) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

bool RemoveUnlessOurs(std::string const& path)
{
   fs::path const target(path);
   auto const folder = OpenParent(target);
   auto const name = target.filename();
   struct stat status;
   if (fstatat(folder.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      return false;
   }
   if (IsPlain(status) && IsTrusted(status)) {
      return false;
   }
   if (unlinkat(folder.Get(), name.c_str(), 0) != 0) {
      Fail("remove", path);
   }
   return true;
}

void RemoveFile(std::string const& path)
{
   fs::path const target(path);
   auto const folder = OpenFolder(target.parent_path());
   bool const removed =
      folder.IsOpen() && unlinkat(folder.Get(), target.filename().c_str(), 0) == 0;
   if (!removed && errno != ENOENT && errno != ENOTDIR && errno != ELOOP) {
      Fail("remove", path);
   }
}

} // namespace vnet::process
