// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logFile.hh"

#include "base/directory.hh"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace base {

namespace {

constexpr size_t KEPT_FILES = 10;
constexpr mode_t FILE_MODE = 0600;
constexpr int APPEND_FLAGS = O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
constexpr std::string_view ENDING = ".log";

LogFile Failed(std::string const& action, std::string const& path)
{
   return {path, {}, action + ' ' + path + ": " + std::strerror(errno)};
}

bool HasOnlyDigits(std::string_view text)
{
   return text.find_first_not_of("0123456789") == text.npos;
}

// True for "<prefix>-<digits>.log" and nothing else.
bool IsProcessLogName(std::string_view name, std::string_view prefix)
{
   size_t fixed = prefix.size() + 1 + ENDING.size();
   return name.size() > fixed && name.starts_with(prefix) && name[prefix.size()] == '-' &&
          name.ends_with(ENDING) &&
          HasOnlyDigits(name.substr(prefix.size() + 1, name.size() - fixed));
}

struct OldFile {
   std::string name;
   timespec changed;
};

bool IsNewer(OldFile const& a, OldFile const& b)
{
   if (a.changed.tv_sec != b.changed.tv_sec) {
      return a.changed.tv_sec > b.changed.tv_sec;
   }
   return a.changed.tv_nsec > b.changed.tv_nsec;
}

// The caller's log files of that prefix, but for the one named own.
std::vector<OldFile> OldFiles(int directory, std::string const& prefix, std::string const& own)
{
   std::vector<OldFile> files;
   for (std::string const& name : NamesIn(directory)) {
      struct stat status = {};
      if (name == own || !IsProcessLogName(name, prefix) ||
          fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
         continue;
      }
      if (S_ISREG(status.st_mode) && status.st_uid == geteuid()) {
         files.push_back({name, status.st_mtim});
      }
   }
   return files;
}

void RemoveOldFiles(int directory, std::string const& prefix, std::string const& own)
{
   std::vector<OldFile> files = OldFiles(directory, prefix, own);
   std::sort(files.begin(), files.end(), IsNewer);
   for (size_t i = KEPT_FILES - 1; i < files.size(); ++i) {
      unlinkat(directory, files[i].name.c_str(), 0);
   }
}

// True if lines may be added to it; otherwise errno tells why not.
bool TakeOver(FileDescriptor const& file)
{
   struct stat status = {};
   if (fstat(file.Get(), &status) != 0) {
      return false;
   }
   if (!S_ISREG(status.st_mode) || status.st_nlink != 1 || status.st_uid != geteuid()) {
      errno = EPERM;
      return false;
   }
   return fchmod(file.Get(), FILE_MODE) == 0;
}

FileDescriptor OpenAt(int directory, std::string const& name, int creation)
{
   FileDescriptor file(openat(directory, name.c_str(), APPEND_FLAGS | creation, FILE_MODE));
   if (file.IsOpen() && !TakeOver(file)) {
      return {};
   }
   return file;
}

// The name can't lead elsewhere: it is removed, not followed, and made anew or not at all.
FileDescriptor CreateAt(int directory, std::string const& name)
{
   if (unlinkat(directory, name.c_str(), 0) != 0 && errno != ENOENT) {
      return {};
   }
   return OpenAt(directory, name, O_CREAT | O_EXCL);
}

} // namespace

bool IsLogPrefix(std::string const& prefix)
{
   constexpr char const* ALLOWED = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                   "._-";
   return !prefix.empty() && prefix.size() <= 200 && prefix[0] != '.' &&
          prefix.find_first_not_of(ALLOWED) == prefix.npos;
}

LogFile CreateLogFile(std::string const& directory, std::string const& prefix, pid_t pid)
{
   FileDescriptor place = MakeDirectory(directory);
   if (!place.IsOpen()) {
      return Failed("create directory", directory);
   }
   std::string name = prefix + '-' + std::to_string(pid) + std::string(ENDING);
   std::string path = directory + '/' + name;
   FileDescriptor file = CreateAt(place.Get(), name);
   if (!file.IsOpen()) {
      return Failed("create log", path);
   }
   RemoveOldFiles(place.Get(), prefix, name);
   return {path, std::move(file), {}};
}

LogFile AppendLogFile(std::string const& directory, std::string const& prefix)
{
   FileDescriptor place = MakeDirectory(directory);
   if (!place.IsOpen()) {
      return Failed("create directory", directory);
   }
   std::string name = prefix + std::string(ENDING);
   std::string path = directory + '/' + name;
   FileDescriptor file = OpenAt(place.Get(), name, O_CREAT);
   return file.IsOpen() ? LogFile{path, std::move(file), {}} : Failed("open log", path);
}

LogFile AppendLogFileAt(std::string const& path)
{
   FileDescriptor file = OpenAt(AT_FDCWD, path, O_CREAT);
   return file.IsOpen() ? LogFile{path, std::move(file), {}} : Failed("open log", path);
}

} // namespace base
