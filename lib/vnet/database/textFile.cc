// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/database/textFile.hh"

#include "vnet/values/error.hh"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <tuple>
#include <unistd.h>

namespace vnet {

namespace {

// A file that its editor writes while we read is read again, but not for ever.
constexpr int maxReadings = 5;

[[noreturn]] void Fail(std::string const& action, std::string const& path)
{
   throw Error(action, path, std::strerror(errno));
}

struct stat GetStatus(int fd, std::string const& path)
{
   struct stat status;
   if (fstat(fd, &status) != 0) {
      Fail("examine", path);
   }
   return status;
}

Descriptor OpenForReading(std::string const& path)
{
   // Without O_NONBLOCK a FIFO would hold us up.
   Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
   if (!file && errno == ELOOP) {
      throw Error("open", path, "It is a symbolic link");
   }
   if (!file) {
      Fail("open", path);
   }
   return file;
}

std::string ReadAll(int fd, std::size_t maxBytes, std::string const& path)
{
   std::string text(maxBytes, '\0');
   std::size_t size = 0;
   while (size < text.size()) {
      ssize_t const count = pread(fd, text.data() + size, text.size() - size, size);
      if (count < 0 && errno == EINTR) {
         continue;
      }
      if (count < 0) {
         Fail("read", path);
      }
      if (count == 0) {
         break;
      }
      size += count;
   }
   text.resize(size);
   return text;
}

void RequireSize(std::size_t size, std::size_t maxBytes, std::string const& path)
{
   if (size > maxBytes) {
      throw Error("read", path, "It is larger than " + std::to_string(maxBytes) + " bytes");
   }
}

// While it is written.
std::string GetNewName(std::string const& name)
{
   return "." + name + ".new";
}

// A new file that disappears again unless it was put in its place.
class NewFile {
public:
   NewFile(std::string const& targetPath, FileSteps& fileSteps)
      : steps(fileSteps), path(targetPath), folder(OpenFolder(targetPath)),
        target(targetPath.substr(targetPath.rfind('/') + 1)), name(GetNewName(target)),
        file(Create())
   {}
   ~NewFile()
   {
      if (!placed) {
         steps.Remove(folder.Get(), name.c_str());
      }
   }
   NewFile(NewFile const&) = delete;
   NewFile& operator=(NewFile const&) = delete;

   void Write(std::string const& text);
   void Place(Existing existing);
   Stamp GetStamp() const { return Stamp::Of(GetStatus(file.Get(), path)); }

private:
   static Descriptor OpenFolder(std::string const& path);
   Descriptor Create();

   FileSteps& steps;
   std::string const path;
   Descriptor folder;
   std::string const target;
   std::string const name;
   Descriptor file;
   bool placed = false;
};

Descriptor NewFile::OpenFolder(std::string const& path)
{
   auto const slash = path.rfind('/');
   auto const folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
   Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
   if (!opened) {
      Fail("open", folder);
   }
   auto const status = GetStatus(opened.Get(), folder);
   bool const own = status.st_uid == geteuid() || status.st_uid == 0;
   if (!own || (status.st_mode & S_IWOTH) != 0) {
      throw Error("write", path, "Its folder is somebody else's, or anybody can change it");
   }
   return opened;
}

Descriptor NewFile::Create()
{
   if (steps.Remove(folder.Get(), name.c_str()) != 0 && errno != ENOENT) {
      Fail("remove what was left of writing", path);
   }
   Descriptor created(steps.CreateNew(folder.Get(), name.c_str()));
   if (!created) {
      Fail("create the new", path);
   }
   return created;
}

void NewFile::Write(std::string const& text)
{
   for (std::size_t written = 0; written < text.size();) {
      ssize_t const count = steps.Write(file.Get(), text.data() + written, text.size() - written);
      if (count < 0 && errno == EINTR) {
         continue;
      }
      if (count < 0) {
         Fail("write", path);
      }
      written += count;
   }
   if (steps.SetMode(file.Get(), 0644) != 0) {
      Fail("set the mode of", path);
   }
   if (steps.Sync(file.Get()) != 0) {
      Fail("sync", path);
   }
}

void NewFile::Place(Existing existing)
{
   int const result = existing == Existing::Replace
                         ? steps.Replace(folder.Get(), name.c_str(), target.c_str())
                         : steps.Place(folder.Get(), name.c_str(), target.c_str());
   if (result != 0) {
      Fail(existing == Existing::Replace ? "replace" : "create", path);
   }
   placed = true;
   if (steps.Sync(folder.Get()) != 0) {
      Fail("sync the folder of", path);
   }
}

} // namespace

Stamp Stamp::Of(struct stat const& status)
{
   return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

bool Stamp::operator==(Stamp const& other) const
{
   auto const all = [](Stamp const& stamp) {
      return std::tuple(stamp.device, stamp.inode, stamp.size, stamp.modified.tv_sec,
                        stamp.modified.tv_nsec, stamp.changed.tv_sec, stamp.changed.tv_nsec);
   };
   return all(*this) == all(other);
}

Stamp GetStamp(std::string const& path)
{
   struct stat status;
   return lstat(path.c_str(), &status) == 0 ? Stamp::Of(status) : Stamp();
}

TextFile ReadTextFile(std::string const& path, std::size_t maxBytes)
{
   auto file = OpenForReading(path);
   for (int reading = 0; reading < maxReadings; ++reading) {
      auto const status = GetStatus(file.Get(), path);
      if (!S_ISREG(status.st_mode)) {
         throw Error("read", path, "It is not a regular file");
      }
      RequireSize(status.st_size, maxBytes, path);
      auto text = ReadAll(file.Get(), status.st_size, path);
      auto const stamp = Stamp::Of(status);
      if (stamp == Stamp::Of(GetStatus(file.Get(), path))) {
         return {std::move(text), stamp, std::move(file)};
      }
   }
   throw Error("read", path, "It keeps changing");
}

void RemoveUnfinished(std::string const& path)
{
   auto const slash = path.rfind('/') + 1;
   unlink((path.substr(0, slash) + GetNewName(path.substr(slash))).c_str());
}

Stamp WriteTextFile(std::string const& path, std::string const& text, Existing existing,
                    FileSteps& steps)
{
   NewFile file(path, steps);
   file.Write(text);
   file.Place(existing);
   return file.GetStamp();
}

} // namespace vnet
