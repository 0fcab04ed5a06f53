// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/privateEtc.hh"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/capability.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

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
   int const fd = open(path, O_WRONLY | O_CLOEXEC);
   Check(fd != -1, std::string("open ") + path);
   bool const works = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
   close(fd);
   Check(works, std::string("write ") + path);
}

// One id inside, the same as outside, so that files and permissions look as they did.
void MapIds(uid_t uid, gid_t gid)
{
   WriteFile("/proc/self/setgroups", "deny");
   WriteFile("/proc/self/uid_map", std::to_string(uid) + " " + std::to_string(uid) + " 1");
   WriteFile("/proc/self/gid_map", std::to_string(gid) + " " + std::to_string(gid) + " 1");
}

void EnterNamespaces()
{
   uid_t const uid = geteuid();
   gid_t const gid = getegid();
   if (uid == 0) {
      Check(unshare(CLONE_NEWNS) == 0, "unshare the mounts");
   } else {
      Check(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare the user and the mounts");
      MapIds(uid, gid);
   }
   // Nothing mounted from here on shall reach the host.
   Check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
}

// Binds what is at `from` to the new place `to`. What can't be bound is left out.
void Bind(fs::path const& from, fs::path const& to)
{
   if (fs::is_symlink(from)) {
      fs::copy_symlink(from, to);
      return;
   }
   if (fs::is_directory(from)) {
      fs::create_directory(to);
   } else {
      std::ofstream make(to);
   }
   mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
}

// A folder that is a mount point for a moment only.
class Stage {
public:
   Stage()
   {
      std::string name = (fs::temp_directory_path() / "etc-XXXXXX").string();
      Check(mkdtemp(name.data()), "make a folder");
      path = name;
   }
   ~Stage() { rmdir(path.c_str()); }
   Stage(Stage const&) = delete;
   Stage& operator=(Stage const&) = delete;

   fs::path path;
};

void ReplaceEtc()
{
   Stage const stage;
   Check(mount("tmpfs", stage.path.c_str(), "tmpfs", 0, "mode=0755") == 0, "mount a tmpfs");
   for (fs::directory_entry const& entry : fs::directory_iterator("/etc")) {
      if (entry.path().filename() != "tavrin") {
         Bind(entry.path(), stage.path / entry.path().filename());
      }
   }
   fs::create_directory(stage.path / "tavrin");
   Check(mount(stage.path.c_str(), "/etc", nullptr, MS_MOVE, nullptr) == 0, "replace /etc");
}

// A user namespace gives its maker rights that a program started here doesn't have, and that hide
// this process from it in /proc, where a server finds its client's pipes.
void DropRights()
{
   if (geteuid() == 0) {
      return;
   }
   __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
   __user_cap_data_struct const none[_LINUX_CAPABILITY_U32S_3] = {};
   Check(syscall(SYS_capset, &header, none) == 0, "drop the capabilities");
   Check(prctl(PR_SET_DUMPABLE, 1) == 0, "become dumpable");
}

std::string MakePrivateEtc()
{
   try {
      EnterNamespaces();
      ReplaceEtc();
      DropRights();
      return {};
   } catch (std::exception const& error) {
      return std::string("no private /etc: ") + error.what();
   }
}

} // namespace

bool HavePrivateEtc()
{
   return GetPrivateEtcProblem().empty();
}

std::string const& GetPrivateEtcProblem()
{
   static std::string const problem = MakePrivateEtc();
   return problem;
}

} // namespace test
