// SPDX-License-Identifier: GPL-2.0-or-later
// in-read-only PROGRAM [ARGUMENT...]: runs the program where the whole file system is read-only but
// for /proc and this product's three folders, which are made if need be. Ends with status 77 if
// such a thing can't be had, 127 if the program can't be run.
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::array folders{"/etc/tavrin", "/run/tavrin", "/var/lib/tavrin"};

bool SetReadOnly(char const* place, bool readOnly, unsigned int flags = 0)
{
   mount_attr attributes{};
   (readOnly ? attributes.attr_set : attributes.attr_clr) = MOUNT_ATTR_RDONLY;
   return mount_setattr(AT_FDCWD, place, flags, &attributes, sizeof attributes) == 0;
}

// A mount of its own, that it can be writable alone.
bool IsOwnMount(char const* folder)
{
   return (mkdir(folder, 0755) == 0 || errno == EEXIST) &&
          mount(folder, folder, nullptr, MS_BIND, nullptr) == 0;
}

bool Enter()
{
   bool good =
      unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
   for (auto const* folder : folders) {
      good = good && IsOwnMount(folder);
   }
   good = good && SetReadOnly("/", true, AT_RECURSIVE) && SetReadOnly("/proc", false);
   for (auto const* folder : folders) {
      good = good && SetReadOnly(folder, false);
   }
   return good;
}

} // namespace

int main(int argc, char** argv)
{
   if (argc < 2) {
      std::fprintf(stderr, "usage: %s PROGRAM [ARGUMENT...]\n", argv[0]);
      return 2;
   }
   if (!Enter()) {
      std::perror("make the file system read-only");
      return 77;
   }
   execv(argv[1], argv + 1);
   std::perror(argv[1]);
   return 127;
}
