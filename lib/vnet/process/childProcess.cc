// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/childProcess.hh"

#include "vnet/process/pidfd.hh"
#include "vnet/values/error.hh"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <utility>

namespace vnet::process {

namespace {

using base::FileDescriptor;
using Clock = std::chrono::steady_clock;

constexpr std::size_t maxErrors = 65536; // bytes

[[noreturn]] void Fail(std::string const& action, std::string const& object)
{
   throw Error(action, object, std::strerror(errno));
}

// Out of the way of what the child gets as 0 to 2, and close-on-exec.
FileDescriptor MoveUp(int low)
{
   FileDescriptor const from(low);
   FileDescriptor moved(fcntl(low, F_DUPFD_CLOEXEC, 3));
   if (!moved.IsOpen()) {
      Fail("open", "a descriptor");
   }
   return moved;
}

struct PipeEnds {
   FileDescriptor read;
   FileDescriptor write;
};

PipeEnds MakePipe()
{
   int ends[2];
   if (pipe2(ends, O_CLOEXEC) != 0) {
      Fail("open", "a pipe");
   }
   FileDescriptor other(ends[1]);
   PipeEnds made{MoveUp(ends[0]), {}};
   made.write = MoveUp(other.Release());
   return made;
}

FileDescriptor OpenNull()
{
   int const null = open("/dev/null", O_RDWR | O_CLOEXEC);
   if (null < 0) {
      Fail("open", "/dev/null");
   }
   return MoveUp(null);
}

// No signal handler of ours runs in the child before it has its own.
class SignalBlock {
public:
   SignalBlock()
   {
      sigset_t all;
      sigfillset(&all);
      pthread_sigmask(SIG_SETMASK, &all, &before);
   }
   SignalBlock(SignalBlock const&) = delete;
   SignalBlock& operator=(SignalBlock const&) = delete;
   ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
   sigset_t before;
};

std::vector<char*> GetPointers(std::vector<std::string> const& texts)
{
   std::vector<char*> pointers;
   for (auto const& text : texts) {
      pointers.push_back(const_cast<char*>(text.c_str()));
   }
   pointers.push_back(nullptr);
   return pointers;
}

// All that the child needs, made before the fork: between fork and exec it may call only what is
// safe in a signal handler, as other threads may have held locks.
struct Launch {
   std::vector<char*> arguments;
   std::vector<char*> environment;
   int null;
   int output;
   int errors;
   int status;
   pid_t parent;
   Command const& command;
};

void ResetSignals()
{
   for (int number = 1; number < NSIG; ++number) {
      std::signal(number, SIG_DFL);
   }
   sigset_t none;
   sigemptyset(&none);
   sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool PlaceDescriptors(Launch const& launch)
{
   return dup2(launch.null, 0) == 0 && dup2(launch.output, 1) == 1 && dup2(launch.errors, 2) == 2 &&
          close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
}

// Whoever died before this was set is no longer our parent.
bool TieToParent(Launch const& launch)
{
   return prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == launch.parent;
}

bool Become(Launch const& launch)
{
   ResetSignals();
   umask(launch.command.umask);
   return (!launch.command.endsWithUs || TieToParent(launch)) && PlaceDescriptors(launch) &&
          chdir("/") == 0 && (!launch.command.newSession || setsid() >= 0) &&
          (!launch.command.noNewPrivileges || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) &&
          base::KeepCapabilities(launch.command.capabilities);
}

[[noreturn]] void RunInChild(Launch const& launch)
{
   if (Become(launch)) {
      execve(launch.arguments[0], launch.arguments.data(), launch.environment.data());
   }
   int const cause = errno;
   // If nobody reads it, nobody is there to be told.
   [[maybe_unused]] auto const written = write(launch.status, &cause, sizeof cause);
   _exit(127);
}

pid_t Fork(Launch const& launch)
{
   SignalBlock const block;
   pid_t const pid = fork();
   if (pid == 0) {
      RunInChild(launch);
   }
   return pid;
}

// 0 once the program runs, else why it doesn't, or why that can't be known.
int ReadStatus(int descriptor)
{
   int cause = 0;
   ssize_t got = 0;
   do {
      got = read(descriptor, &cause, sizeof cause);
   } while (got < 0 && errno == EINTR);
   return got < 0 ? errno : got == sizeof cause ? cause : 0;
}

int WaitFor(pid_t pid)
{
   int status = 0;
   while (waitpid(pid, &status, 0) < 0) {
      if (errno != EINTR) {
         Fail("wait for", "process " + std::to_string(pid));
      }
   }
   return status;
}

int GetRemaining(Clock::time_point end)
{
   auto const left = std::chrono::ceil<Milliseconds>(end - Clock::now());
   return static_cast<int>(std::clamp<Milliseconds::rep>(left.count(), 0, 1 << 30));
}

void CheckCommand(Command const& command)
{
   if (command.arguments.empty() || command.arguments[0].empty() ||
       command.arguments[0][0] != '/') {
      std::string const name = command.arguments.empty() ? "nothing" : command.arguments[0];
      throw Error("start", name, "not an absolute path");
   }
}

} // namespace

std::string Ending::ToString() const
{
   return (exited ? "status " : "signal ") + std::to_string(code);
}

ChildProcess ChildProcess::Start(Command const& command)
{
   CheckCommand(command);
   auto const null = OpenNull();
   PipeEnds status = MakePipe();
   PipeEnds errors = command.captureErrors ? MakePipe() : PipeEnds{};
   Launch const launch{GetPointers(command.arguments),
                       GetPointers(command.environment),
                       null.Get(),
                       command.output >= 0 ? command.output : null.Get(),
                       command.captureErrors ? errors.write.Get() : null.Get(),
                       status.write.Get(),
                       getpid(),
                       command};
   pid_t const pid = Fork(launch);
   if (pid < 0) {
      Fail("start", command.arguments[0]);
   }
   status.write = {};
   errors.write = {};
   FileDescriptor handle = OpenPidfd(pid);
   if (handle.IsOpen() && errors.read.IsOpen()) {
      fcntl(errors.read.Get(), F_SETFL, O_NONBLOCK);
   }
   ChildProcess child(pid, std::move(handle), std::move(errors.read));
   if (int const cause = ReadStatus(status.read.Get())) {
      throw Error("start", command.arguments[0], std::strerror(cause));
   }
   return child;
}

ChildProcess::ChildProcess(pid_t child, FileDescriptor pidHandle, FileDescriptor errorPipe)
   : pid(child), handle(std::move(pidHandle)), errors(std::move(errorPipe))
{
   if (!handle.IsOpen()) {
      int const cause = errno;
      kill(pid, SIGKILL);
      WaitFor(pid);
      throw Error("hold", "process " + std::to_string(pid), std::strerror(cause));
   }
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
   : pid(std::exchange(other.pid, -1)), handle(std::move(other.handle)),
     errors(std::move(other.errors)), errorText(std::move(other.errorText)), ending(other.ending)
{}

ChildProcess::~ChildProcess()
{
   if (pid > 0 && !ending) {
      kill(pid, SIGKILL);
      while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
      }
   }
}

std::string const& ChildProcess::ReadErrors()
{
   char buffer[4096];
   while (errors.IsOpen()) {
      ssize_t const got = read(errors.Get(), buffer, sizeof buffer);
      if (got < 0 && errno == EINTR) {
         continue;
      }
      if (got < 0 && errno == EAGAIN) {
         break;
      }
      if (got <= 0) {
         errors = {};
         break;
      }
      errorText.append(buffer, std::min<std::size_t>(static_cast<std::size_t>(got),
                                                     maxErrors - errorText.size()));
   }
   return errorText;
}

Ending ChildProcess::Reap()
{
   int const status = WaitFor(pid);
   ReadErrors();
   ending = WIFEXITED(status) ? Ending{true, WEXITSTATUS(status)} : Ending{false, WTERMSIG(status)};
   return *ending;
}

std::optional<Ending> ChildProcess::Wait(Milliseconds deadline)
{
   auto const end = Clock::now() + deadline;
   while (!ending) {
      pollfd polled[] = {{handle.Get(), POLLIN, 0}, {errors.Get(), POLLIN, 0}};
      int const ready = poll(polled, 2, GetRemaining(end));
      if (ready == 0) {
         return {};
      }
      if (ready < 0 && errno != EINTR) {
         Fail("wait for", "process " + std::to_string(pid));
      }
      if (ready > 0 && polled[0].revents) {
         return Reap();
      }
      ReadErrors();
   }
   return ending;
}

Completion RunToEnd(Command const& command, Milliseconds deadline)
{
   auto child = ChildProcess::Start(command);
   auto const ending = child.Wait(deadline);
   if (!ending) {
      throw Error("run", command.arguments[0],
                  "it didn't end within " + std::to_string(deadline.count()) + " ms");
   }
   return {*ending, child.ReadErrors()};
}

} // namespace vnet::process
