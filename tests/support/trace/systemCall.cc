// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/trace/systemCall.hh"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace test {

namespace {

// Those that the library, the libraries below it and its children between fork and exec make.
std::vector<CallKind> const kinds = {
   // Files.
   {SYS_open, "open", -1, 0, -1, false, {EMFILE, EACCES}},
   {SYS_openat, "openat", 0, 1, -1, false, {EMFILE, EACCES}},
   {SYS_read, "read", 0, -1, -1, true, {EIO, EINTR}},
   {SYS_pread64, "pread64", 0, -1, -1, true, {EIO, EINTR}},
   {SYS_write, "write", 0, -1, -1, true, {ENOSPC, EIO, EINTR}},
   {SYS_writev, "writev", 0, -1, -1, false, {ENOSPC, EIO, EINTR}},
   {SYS_fsync, "fsync", 0, -1, -1, false, {EIO, ENOSPC}},
   {SYS_rename, "rename", -1, 0, 1, false, {ENOSPC, EIO}},
   {SYS_renameat, "renameat", 0, 1, 3, false, {ENOSPC, EIO}},
   {SYS_renameat2, "renameat2", 0, 1, 3, false, {ENOSPC, EIO}},
   {SYS_unlink, "unlink", -1, 0, -1, false, {EIO, EROFS}},
   {SYS_unlinkat, "unlinkat", 0, 1, -1, false, {EIO, EROFS}},
   {SYS_mkdir, "mkdir", -1, 0, -1, false, {ENOSPC, EACCES}},
   {SYS_rmdir, "rmdir", -1, 0, -1, false, {EIO}},
   {SYS_chmod, "chmod", -1, 0, -1, false, {EPERM}},
   {SYS_fchmod, "fchmod", 0, -1, -1, false, {EPERM}},
   {SYS_stat, "stat", -1, 0, -1, false, {EACCES}},
   {SYS_lstat, "lstat", -1, 0, -1, false, {EACCES}},
   {SYS_fstat, "fstat", 0, -1, -1, false, {EIO}},
   {SYS_newfstatat, "newfstatat", 0, 1, -1, false, {EACCES}},
   {SYS_statx, "statx", 0, 1, -1, false, {EACCES}},
   {SYS_access, "access", -1, 0, -1, false, {EACCES}},
   {SYS_faccessat, "faccessat", 0, 1, -1, false, {EACCES}},
   {SYS_faccessat2, "faccessat2", 0, 1, -1, false, {EACCES}},
   {SYS_readlink, "readlink", -1, 0, -1, false, {EACCES}},
   {SYS_readlinkat, "readlinkat", 0, 1, -1, false, {EACCES}},
   {SYS_getdents64, "getdents64", 0, -1, -1, false, {EIO}},
   {SYS_lseek, "lseek", 0, -1, -1, false, {EIO}},
   {SYS_ftruncate, "ftruncate", 0, -1, -1, false, {EIO}},
   {SYS_flock, "flock", 0, -1, -1, false, {EINTR, ENOLCK}},
   {SYS_fcntl, "fcntl", 0, -1, -1, false, {EMFILE}},
   {SYS_ioctl, "ioctl", 0, -1, -1, false, {EIO}},
   {SYS_close, "close", 0},
   {SYS_getcwd, "getcwd"},
   // Sockets.
   {SYS_socket, "socket", -1, -1, -1, false, {EMFILE, ENOMEM, EPERM}},
   {SYS_bind, "bind", 0, -1, -1, false, {EADDRINUSE, ENOMEM}},
   {SYS_connect, "connect", 0, -1, -1, false, {EINTR}},
   {SYS_setsockopt, "setsockopt", 0, -1, -1, false, {ENOMEM}},
   {SYS_getsockopt, "getsockopt", 0, -1, -1, false, {ENOMEM}},
   {SYS_getsockname, "getsockname", 0, -1, -1, false, {ENOMEM}},
   {SYS_sendto, "sendto", 0, -1, -1, false, {ENOBUFS, EINTR, EPERM}},
   {SYS_sendmsg, "sendmsg", 0, -1, -1, false, {ENOBUFS, EINTR, EPERM}},
   {SYS_recvfrom, "recvfrom", 0, -1, -1, false, {ENOBUFS, EINTR, ENOMEM}},
   {SYS_recvmsg, "recvmsg", 0, -1, -1, false, {ENOBUFS, EINTR, ENOMEM}},
   // Waiting.
   {SYS_poll, "poll", -1, -1, -1, false, {EINTR, ENOMEM}},
   {SYS_ppoll, "ppoll", -1, -1, -1, false, {EINTR, ENOMEM}},
   {SYS_select, "select", -1, -1, -1, false, {EINTR, ENOMEM}},
   {SYS_pselect6, "pselect6", -1, -1, -1, false, {EINTR, ENOMEM}},
   {SYS_epoll_create1, "epoll_create1", -1, -1, -1, false, {EMFILE}},
   {SYS_epoll_ctl, "epoll_ctl", 0, -1, -1, false, {ENOMEM}},
   {SYS_clock_nanosleep, "clock_nanosleep", -1, -1, -1, false, {EINTR}},
   {SYS_wait4, "wait4", -1, -1, -1, false, {EINTR}},
   // Processes.
   {SYS_clone, "clone", -1, -1, -1, false, {EAGAIN, ENOMEM}},
   {SYS_clone3, "clone3", -1, -1, -1, false, {EAGAIN, ENOMEM}},
   {SYS_execve, "execve", -1, 0, -1, false, {ENOENT, EACCES, ENOMEM}},
   {SYS_pipe2, "pipe2", -1, -1, -1, false, {EMFILE}},
   {SYS_dup2, "dup2", 0, -1, -1, false, {EMFILE}},
   {SYS_close_range, "close_range", -1, -1, -1, false, {ENOMEM}},
   {SYS_chdir, "chdir", -1, 0, -1, false, {EACCES}},
   {SYS_setsid, "setsid", -1, -1, -1, false, {EPERM}},
   {SYS_prctl, "prctl", -1, -1, -1, false, {EPERM}},
   {SYS_pidfd_open, "pidfd_open", -1, -1, -1, false, {EMFILE, ENOMEM}},
   {SYS_pidfd_send_signal, "pidfd_send_signal", -1, -1, -1, false, {EPERM}},
   {SYS_kill, "kill"},
   {SYS_exit_group, "exit_group"},
   // Memory.
   {SYS_brk, "brk", -1, -1, -1, false, {ENOMEM}},
   {SYS_mmap, "mmap", -1, -1, -1, false, {ENOMEM}},
   {SYS_mremap, "mremap", -1, -1, -1, false, {ENOMEM}},
   {SYS_munmap, "munmap"},
   {SYS_madvise, "madvise"},
   {SYS_mprotect, "mprotect", -1, -1, -1, false, {ENOMEM}},
   // What asks for things that are always there.
   {SYS_getpid, "getpid"},
   {SYS_gettid, "gettid"},
   {SYS_tgkill, "tgkill"},
   {SYS_getppid, "getppid"},
   {SYS_getuid, "getuid"},
   {SYS_geteuid, "geteuid"},
   {SYS_getgid, "getgid"},
   {SYS_getegid, "getegid"},
   {SYS_umask, "umask"},
   {SYS_uname, "uname"},
   {SYS_sysinfo, "sysinfo"},
   {SYS_getrandom, "getrandom"},
   {SYS_rt_sigaction, "rt_sigaction"},
   {SYS_rt_sigprocmask, "rt_sigprocmask"},
   {SYS_rt_sigreturn, "rt_sigreturn"},
   {SYS_futex, "futex"},
   {SYS_set_robust_list, "set_robust_list"},
   {SYS_rseq, "rseq"},
   {SYS_prlimit64, "prlimit64"},
   {SYS_restart_syscall, "restart_syscall"},
};

std::string ReadText(pid_t process, std::uint64_t address)
{
   constexpr std::uint64_t pageSize = 4096;
   std::string text;
   // A page at a time: what follows the text may not be readable.
   while (text.size() < PATH_MAX && text.find('\0') == std::string::npos) {
      std::array<char, pageSize> page;
      auto const start = address + text.size();
      iovec const here{page.data(), page.size()};
      iovec const there{reinterpret_cast<void*>(start), pageSize - start % pageSize};
      auto const got = process_vm_readv(process, &here, 1, &there, 1, 0);
      if (got <= 0) {
         return {};
      }
      text.append(page.data(), static_cast<std::size_t>(got));
   }
   return text.c_str();
}

std::string ReadDescriptor(pid_t process, int descriptor)
{
   auto const folder = "/proc/" + std::to_string(process);
   auto const link =
      descriptor == AT_FDCWD ? folder + "/cwd" : folder + "/fd/" + std::to_string(descriptor);
   char target[PATH_MAX];
   auto const length = readlink(link.c_str(), target, sizeof target);
   return {target, length > 0 ? static_cast<std::size_t>(length) : 0};
}

} // namespace

CallKind const* FindCallKind(int number)
{
   auto const found = std::ranges::find(kinds, number, &CallKind::number);
   return found == kinds.end() ? nullptr : &*found;
}

std::string SystemCall::GetName() const
{
   auto const* kind = FindCallKind(number);
   return kind ? kind->name : "call " + std::to_string(number);
}

std::string SystemCall::ToString() const
{
   return GetName() + (object.empty() ? "" : " " + object);
}

std::string DescribeObject(pid_t process, SystemCall const& call)
{
   auto const* kind = FindCallKind(call.number);
   if (!kind) {
      return {};
   }
   std::string object;
   if (kind->descriptor >= 0) {
      object = ReadDescriptor(process, static_cast<int>(call.arguments[kind->descriptor]));
   }
   if (kind->path >= 0) {
      auto const path = ReadText(process, call.arguments[kind->path]);
      // An empty one means the descriptor itself.
      object = path.starts_with('/') || object.empty() ? path
               : path.empty()                          ? object
                                                       : object + "/" + path;
   }
   if (kind->otherPath >= 0) {
      object += " " + ReadText(process, call.arguments[kind->otherPath]);
   }
   return object;
}

} // namespace test
