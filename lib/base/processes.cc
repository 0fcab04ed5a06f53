// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/processes.hh"

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string>
#include <string_view>

namespace base {

namespace {

constexpr uid_t ROOT = 0;

// No sound process tree is deeper; the walk reads a tree that changes meanwhile.
constexpr int MAX_DEPTH = 1024;

std::string ReadText(FileDescriptor const& file)
{
   std::string text;
   char buffer[4096];
   for (;;) {
      ssize_t count = read(file.Get(), buffer, sizeof buffer);
      if (count > 0) {
         text.append(buffer, static_cast<size_t>(count));
      } else if (count == 0) {
         return text;
      } else if (errno != EINTR) {
         return {}; // ESRCH: reaped since the file was opened
      }
   }
}

// The first word after "\n<name>:\t". The process's own name can't forge a line: the kernel escapes
// the newlines in it.
std::optional<std::string_view> Field(std::string_view status, std::string_view name)
{
   std::string key = "\n" + std::string(name) + ":\t";
   size_t start = status.find(key);
   if (start == std::string_view::npos) {
      return std::nullopt;
   }
   std::string_view rest = status.substr(start + key.size());
   return rest.substr(0, rest.find_first_of(" \t\n"));
}

template <typename Number>
std::optional<Number> NumberField(std::string_view status, std::string_view name)
{
   std::optional<std::string_view> text = Field(status, name);
   Number number = 0;
   if (!text ||
       std::from_chars(text->data(), text->data() + text->size(), number).ec != std::errc()) {
      return std::nullopt;
   }
   return number;
}

bool IsAliveState(std::string_view state)
{
   return state != "Z" && state != "X" && state != "x";
}

} // namespace

FileDescriptor OpenProcess(pid_t pid)
{
   std::string path = "/proc/" + std::to_string(pid);
   return FileDescriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

std::optional<ProcessInfo> ReadProcess(FileDescriptor const& directory)
{
   FileDescriptor file(openat(directory.Get(), "status", O_RDONLY | O_CLOEXEC));
   if (!file.IsOpen()) {
      return std::nullopt;
   }
   std::string status = ReadText(file);
   std::optional<std::string_view> state = Field(status, "State");
   auto pid = NumberField<pid_t>(status, "Pid");
   auto parent = NumberField<pid_t>(status, "PPid");
   auto user = NumberField<uid_t>(status, "Uid");
   if (!state || !pid || !parent || !user) {
      return std::nullopt;
   }
   return ProcessInfo{*pid, *parent, *user, IsAliveState(*state)};
}

std::optional<ProcessInfo> FindProcess(pid_t pid)
{
   FileDescriptor directory = OpenProcess(pid);
   return directory.IsOpen() ? ReadProcess(directory) : std::nullopt;
}

bool MayLendPipe(ProcessInfo const& process, OwnProcess const& own, ProcessLookup const& find)
{
   // Without root's rights we open nothing for anyone that he couldn't open himself.
   if (own.effectiveUser != ROOT && process.user == own.user) {
      return true;
   }
   // An elevation tool and its helpers may stand between us and the user's client. With one that
   // executes us in its own place our parent is the client itself; and a client that already ran as
   // root, perhaps reached from a user's shell, is one of root's ancestors of ours, so these do
   // too.
   pid_t pid = own.parent;
   for (int depth = 0; pid > 0 && depth < MAX_DEPTH; ++depth) {
      if (pid == process.pid) {
         return true;
      }
      std::optional<ProcessInfo> ancestor = find(pid);
      if (!ancestor) {
         return false; // it went meanwhile: nobody knows any more who started us
      }
      if (ancestor->user != ROOT) {
         return process.user == ancestor->user;
      }
      pid = ancestor->parent;
   }
   return pid <= 0 && process.user == ROOT;
}

} // namespace base
