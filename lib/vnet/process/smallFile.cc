// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/smallFile.hh"

#include "base/fileDescriptor.hh"
#include "vnet/values/error.hh"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>

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

// Whatever the umask says.
void MakeOne(fs::path const& path)
{
   if (mkdir(path.c_str(), 0755) == 0) {
      chmod(path.c_str(), 0755);
   } else if (errno != EEXIST) {
      Fail("make folder", path);
   }
}

FileDescriptor OpenParent(fs::path const& path)
{
   FileDescriptor folder(open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
   if (!folder.IsOpen()) {
      Fail("open folder", path.parent_path());
   }
   return folder;
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

bool WriteNew(int folder, std::string const& name, std::string const& text)
{
   unlinkat(folder, name.c_str(), 0);
   FileDescriptor const file(
      openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
   return file.IsOpen() && WriteAll(file.Get(), text) && fchmod(file.Get(), 0644) == 0;
}

std::optional<std::string> Read(std::string const& path, bool onlyTrusted)
{
   FileDescriptor const file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
   struct stat status;
   if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
       (onlyTrusted && !IsTrusted(status))) {
      return {};
   }
   std::string text;
   std::array<char, 4096> buffer;
   ssize_t got = 0;
   while ((got = read(file.Get(), buffer.data(), buffer.size())) > 0 && text.size() <= maxSize) {
      text.append(buffer.data(), static_cast<std::size_t>(got));
   }
   return got == 0 && text.size() <= maxSize ? std::optional(text) : std::nullopt;
}

} // namespace

void MakeFolder(std::string const& path)
{
   fs::path made;
   for (auto const& part : fs::path(path)) {
      made /= part;
      MakeOne(made);
   }
   struct stat status;
   if (lstat(path.c_str(), &status) != 0) {
      Fail("make folder", path);
   }
   if (!S_ISDIR(status.st_mode)) {
      throw Error("make folder", path, "something else is there");
   }
   if (!IsTrusted(status)) {
      throw Error("make folder", path, "others may change it");
   }
}

void ReplaceFile(std::string const& path, std::string const& text)
{
   fs::path const target(path);
   auto const folder = OpenParent(target);
   std::string const name = target.filename();
   std::string const fresh = freshPrefix + name + freshSuffix;
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
   std::error_code none;
   for (auto const& entry : fs::directory_iterator(folder, none)) {
      std::string const name = entry.path().filename();
      if (name.starts_with(freshPrefix) && name.ends_with(freshSuffix) &&
          entry.is_regular_file(none)) {
         RemoveFile(entry.path());
      }
   }
}

void RemoveFile(std::string const& path)
{
   if (unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
      Fail("remove", path);
   }
}

} // namespace vnet::process
