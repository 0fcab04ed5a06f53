// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/directory.hh"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace base {

namespace {

constexpr int DIRECTORY_FLAGS = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

struct DirCloser {
   void operator()(DIR* directory) const { closedir(directory); }
};

// A directory that is there already is as good as a new one.
bool Make(std::string const& path)
{
   return mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

} // namespace

FileDescriptor MakeDirectory(std::string const& path)
{
   for (size_t end = path.find('/', 1); end != path.npos; end = path.find('/', end + 1)) {
      // Whether it is there in the end shows at the opening: on the way there may be file systems
      // that refuse to make even what exists.
      Make(path.substr(0, end));
   }
   Make(path);
   return FileDescriptor(open(path.c_str(), DIRECTORY_FLAGS | O_NOFOLLOW));
}

std::vector<std::string> NamesIn(int fd)
{
   std::vector<std::string> names;
   FileDescriptor again(openat(fd, ".", DIRECTORY_FLAGS));
   std::unique_ptr<DIR, DirCloser> directory(again.IsOpen() ? fdopendir(again.Get()) : nullptr);
   if (!directory) {
      return names;
   }
   again.Release(); // it is the DIR's now
   while (dirent* entry = readdir(directory.get())) {
      std::string name = entry->d_name;
      if (name != "." && name != "..") {
         names.push_back(name);
      }
   }
   return names;
}

} // namespace base
