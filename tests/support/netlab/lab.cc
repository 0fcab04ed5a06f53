// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/netlab/lab.hh"

#include "base/fileDescriptor.hh"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <unistd.h>

namespace netlab {

namespace {

namespace fs = std::filesystem;

void Check(bool works, std::string const& action)
{
   if (!works) {
      throw std::runtime_error(action + ": " + std::strerror(errno));
   }
}

void WriteFile(char const* path, std::string const& text)
{
   base::FileDescriptor const file(open(path, O_WRONLY | O_CLOEXEC));
   Check(file.IsOpen(), std::string("open ") + path);
   Check(write(file.Get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()),
         std::string("write ") + path);
}

// Root inside, whoever outside. A root that may not do it is an ordinary user here.
void EnterNamespaces()
{
   int const wanted = CLONE_NEWNS | CLONE_NEWNET;
   if (geteuid() == 0 && unshare(wanted) == 0) {
      return;
   }
   auto const user = std::to_string(geteuid());
   auto const group = std::to_string(getegid());
   Check(unshare(CLONE_NEWUSER | wanted) == 0, "make a user namespace");
   WriteFile("/proc/self/setgroups", "deny");
   WriteFile("/proc/self/uid_map", "0 " + user + " 1");
   WriteFile("/proc/self/gid_map", "0 " + group + " 1");
}

void MountTmpfs(std::string const& folder)
{
   Check(mount("tmpfs", folder.c_str(), "tmpfs", 0, "mode=0755") == 0,
         "mount a tmpfs on " + folder);
}

// The folder as it is, but writable and for this process alone.
void MakePrivate(std::string const& folder, fs::path const& store)
{
   fs::create_directories(store / "upper");
   fs::create_directories(store / "work");
   auto const options = "lowerdir=" + folder + ",upperdir=" + (store / "upper").string() +
                        ",workdir=" + (store / "work").string() + ",userxattr";
   Check(mount("overlay", folder.c_str(), "overlay", 0, options.c_str()) == 0,
         "mount an overlay on " + folder);
}

constexpr std::array emptyFolders{"/run", "/etc/tavrin", "/var/lib/tavrin"};

// The overlays' stores hide below the /run that the test sees.
void MakeFolders()
{
   Check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
   MountTmpfs("/run");
   MakePrivate("/etc", "/run/etc");
   MakePrivate("/var/lib", "/run/lib");
   for (auto const* folder : emptyFolders) {
      fs::create_directories(folder);
      MountTmpfs(folder);
   }
}

std::string Enter()
{
   try {
      EnterNamespaces();
      MakeFolders();
      return {};
   } catch (std::exception const& error) {
      return std::string("no network laboratory: ") + error.what();
   }
}

void Empty(fs::path const& folder)
{
   for (auto const& entry : fs::directory_iterator(folder)) {
      fs::remove_all(entry.path());
   }
}

// sysfs shows the devices of the namespace in which it was mounted.
void MountSysfs()
{
   static bool mounted = false;
   if (mounted) {
      umount2("/sys", MNT_DETACH);
   }
   mounted = mount("sysfs", "/sys", "sysfs", 0, nullptr) == 0;
}

void MakeFreshHost()
{
   Check(unshare(CLONE_NEWNET) == 0, "make a network namespace");
   MountSysfs();
   for (auto const* folder : emptyFolders) {
      Empty(folder);
   }
}

} // namespace

std::string const& GetProblem()
{
   static std::string const problem = Enter();
   return problem;
}

LabTest::LabTest()
{
   if (GetProblem().empty()) {
      MakeFreshHost();
      host.emplace(Namespace::TakeCurrent());
   }
}

void LabTest::SetUp()
{
   if (!GetProblem().empty()) {
      GTEST_SKIP() << GetProblem();
   }
}

} // namespace netlab
