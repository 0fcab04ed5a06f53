// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/runningProcess.hh"

#include "vnet/process/pidfd.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sstream>
#include <string_view>

#include <sys/stat.h>

namespace vnet::process {

namespace {

using base::FileDescriptor;

std::string GetFolder(pid_t pid)
{
   return "/proc/" + std::to_string(pid);
}

// The process has ended, or isn't ours to look at. All else is no reason to take it for gone.
void RequireUnknown(std::string const& object)
{
   if (errno != ENOENT && errno != ESRCH && errno != EACCES && errno != EPERM) {
      throw Error("look at", object, std::strerror(errno));
   }
}

FileDescriptor OpenIn(int folder, std::string const& name, int flags)
{
   FileDescriptor file(openat(folder, name.c_str(), flags | O_CLOEXEC));
   if (!file.IsOpen()) {
      RequireUnknown(name);
   }
   return file;
}

// Its files fail once the process was reaped, whoever has the number then.
FileDescriptor OpenFolder(pid_t pid)
{
   FileDescriptor folder(open(GetFolder(pid).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
   // Whoever may not look into it may still open it: proc(5), hidepid.
   if (!folder.IsOpen() && errno != ENOENT && errno != ESRCH) {
      throw Error("look at", "process " + std::to_string(pid), std::strerror(errno));
   }
   return folder;
}

std::string ReadAll(int folder, char const* name)
{
   auto const file = OpenIn(folder, name, O_RDONLY);
   std::string text;
   std::array<char, 4096> buffer;
   ssize_t got = file.IsOpen() ? 1 : 0;
   while (got != 0) {
      got = read(file.Get(), buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) {
         continue;
      }
      if (got < 0) {
         RequireUnknown(name);
         break;
      }
      text.append(buffer.data(), static_cast<std::size_t>(got));
   }
   return text;
}

// proc(5): the program's name, in parentheses, may hold any byte; what follows are the fields from
// the third on.
bool ReadStat(int folder, ProcessFacts& facts)
{
   std::string const text = ReadAll(folder, "stat");
   auto const close = text.rfind(')');
   if (close == std::string::npos) {
      return false;
   }
   std::istringstream fields(text.substr(close + 1));
   fields >> facts.state;
   std::string skipped;
   for (int field = 4; field < 22; ++field) {
      fields >> skipped;
   }
   return static_cast<bool>(fields >> facts.identity.startTime);
}

std::vector<std::string> ReadArguments(int folder)
{
   std::istringstream text(ReadAll(folder, "cmdline"));
   std::vector<std::string> arguments;
   for (std::string argument; std::getline(text, argument, '\0');) {
      arguments.push_back(argument);
   }
   return arguments;
}

std::string ReadExecutable(int folder)
{
   constexpr std::string_view replaced = " (deleted)";
   char target[PATH_MAX];
   ssize_t const length = readlinkat(folder, "exe", target, sizeof target);
   std::string path(target, length > 0 ? static_cast<std::size_t>(length) : 0);
   if (path.ends_with(replaced)) {
      path.resize(path.size() - replaced.size());
   }
   return path;
}

// Each network namespace has files of its own below /proc/<pid>/net, which all may look at, where
// ns/net is for those alone who may trace the process: proc_pid_net(5), namespaces(7).
constexpr char const* networkFile = "net/dev";

std::optional<bool> IsInOurNetwork(int folder)
{
   auto const self = OpenIn(AT_FDCWD, "/proc/thread-self", O_PATH | O_DIRECTORY);
   for (auto const* name : {"ns/net", networkFile}) {
      struct stat theirs;
      struct stat ours;
      if (fstatat(folder, name, &theirs, 0) == 0 && fstatat(self.Get(), name, &ours, 0) == 0) {
         return theirs.st_ino == ours.st_ino;
      }
   }
   return {};
}

bool HasEnded(char state)
{
   return state == 'Z' || state == 'X';
}

bool StartsWith(std::vector<std::string> const& all, std::vector<std::string> const& first)
{
   return all.size() >= first.size() && std::equal(first.begin(), first.end(), all.begin());
}

// In the order of their numbers, and looked at while they are listed: of one that ends meanwhile, a
// child that it made just before has a higher number, and is still to come.
template <class Look>
void ForEachProcess(Look const& look)
{
   std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir("/proc"), closedir);
   if (!folder) {
      throw Error("list", "processes", std::strerror(errno));
   }
   for (errno = 0; auto const* entry = readdir(folder.get()); errno = 0) {
      std::string_view const name = entry->d_name;
      pid_t pid = 0;
      auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
      if (error == std::errc() && end == name.data() + name.size()) {
         look(pid);
      }
   }
   if (errno != 0) {
      throw Error("list", "processes", std::strerror(errno));
   }
}

} // namespace

std::optional<ProcessFacts> FindProcess(pid_t pid)
{
   auto const folder = OpenFolder(pid);
   ProcessFacts facts;
   facts.identity.pid = pid;
   if (!folder.IsOpen() || !ReadStat(folder.Get(), facts) || HasEnded(facts.state)) {
      return {};
   }
   facts.executable = ReadExecutable(folder.Get());
   facts.arguments = ReadArguments(folder.Get());
   facts.sameNetwork = IsInOurNetwork(folder.Get());
   return facts;
}

std::vector<ProcessFacts> FindProcesses(std::vector<std::string> const& firstArguments)
{
   std::vector<ProcessFacts> found;
   ForEachProcess([&](pid_t pid) {
      auto const folder = OpenFolder(pid);
      if (!folder.IsOpen() || !StartsWith(ReadArguments(folder.Get()), firstArguments)) {
         return;
      }
      // One that is ending meanwhile has no arguments any more.
      auto const facts = FindProcess(pid);
      if (facts && StartsWith(facts->arguments, firstArguments)) {
         found.push_back(*facts);
      }
   });
   return found;
}

std::optional<ProcessHandle> ProcessHandle::Open(Identity const& identity)
{
   FileDescriptor descriptor = identity.pid > 0 ? OpenPidfd(identity.pid) : FileDescriptor();
   if (!descriptor.IsOpen()) {
      if (identity.pid <= 0 || errno == ESRCH) {
         return {};
      }
      throw Error("hold", "process " + std::to_string(identity.pid), std::strerror(errno));
   }
   ProcessHandle handle(identity, std::move(descriptor));
   // Looked at again now that the number can't change hands under us.
   auto const facts = FindProcess(identity.pid);
   if (!facts && !handle.WaitForEnd(std::chrono::milliseconds::zero())) {
      throw Error("hold", "process " + std::to_string(identity.pid), "It can't be looked at");
   }
   bool const same = facts && facts->identity == identity;
   return same ? std::optional(std::move(handle)) : std::nullopt;
}

ProcessHandle::ProcessHandle(Identity const& process, FileDescriptor pidDescriptor)
   : identity(process), descriptor(std::move(pidDescriptor))
{}

void ProcessHandle::Signal(int number) const
{
   if (SignalPidfd(descriptor, number) != 0 && errno != ESRCH) {
      throw Error("signal", "process " + std::to_string(identity.pid), std::strerror(errno));
   }
}

bool ProcessHandle::WaitForEnd(std::chrono::milliseconds deadline) const
{
   auto const end = std::chrono::steady_clock::now() + deadline;
   pollfd polled{descriptor.Get(), POLLIN, 0};
   int ready = 0;
   do {
      auto const left =
         std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      ready = poll(&polled, 1, static_cast<int>(std::max<long>(left.count(), 0)));
   } while (ready < 0 && errno == EINTR);
   if (ready < 0) {
      throw Error("wait for", "process " + std::to_string(identity.pid), std::strerror(errno));
   }
   return ready > 0;
}

void ProcessHandle::Terminate(std::chrono::milliseconds deadline) const
{
   Signal(SIGTERM);
   Signal(SIGCONT); // a stopped process would keep the other waiting
   if (WaitForEnd(deadline)) {
      return;
   }
   Signal(SIGKILL);
   if (!WaitForEnd(deadline)) {
      throw Error("end", "process " + std::to_string(identity.pid), "it outlives SIGKILL");
   }
}

} // namespace vnet::process
