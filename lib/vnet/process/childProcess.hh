// SPDX-License-Identifier: GPL-2.0-or-later
// A program started by an argument vector.
#pragma once

#include "base/capabilities.hh"
#include "base/fileDescriptor.hh"

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vnet::process {

using Milliseconds = std::chrono::milliseconds;

struct Command {
   // The first is the program's absolute path; there is no search and no shell.
   std::vector<std::string> arguments;
   // All that the program gets.
   std::vector<std::string> environment = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"};
   mode_t umask = 022;
   // The program and its children can't gain rights by a set-user-ID file (prctl(2)).
   bool noNewPrivileges = true;
   // What it may have at most of our rights.
   base::CapabilitySet capabilities = base::SERVICE_CAPABILITIES;
   // It outlives us and our terminal: a session of its own.
   bool newSession = false;
   // If the thread that starts it ends before it does, it is killed; its own children live on. So
   // it can't begin its work when nobody waits for it any more.
   bool endsWithUs = false;
   // Its standard error comes to us; else it goes to /dev/null.
   bool captureErrors = true;
   // An open descriptor that it gets as its standard output; else that is /dev/null.
   int output = -1;
};

// How a process ended.
struct Ending {
   bool exited = false; // else killed
   int code = 0;        // exit status or signal

   bool IsSuccess() const { return exited && code == 0; }
   // "status 2", "signal 9"
   std::string ToString() const;
};

// A child of ours, waited for by its pid alone. It has the descriptors 0 to 2, with /dev/null for
// input and, unless told, output, / as its folder, and default signals.
class ChildProcess {
public:
   // Throws Error with the program and the cause if it can't be executed.
   static ChildProcess Start(Command const& command);

   ChildProcess(ChildProcess&& other) noexcept;
   ChildProcess& operator=(ChildProcess&&) = delete;
   // Kills and reaps what still runs, unless it was detached.
   ~ChildProcess();

   pid_t GetPid() const { return pid; }
   // Reads errors until the child has ended, and reaps it; empty at the deadline.
   std::optional<Ending> Wait(Milliseconds deadline);
   // What it wrote to its standard error so far, at most 64 KiB; takes in what is there now.
   std::string const& ReadErrors();
   // Ends the ownership: the child goes on alone, and whoever adopts orphans reaps it.
   void Detach() { pid = -1; }

private:
   ChildProcess(pid_t child, base::FileDescriptor handle, base::FileDescriptor errorPipe);

   pid_t pid;
   base::FileDescriptor handle; // a pidfd
   base::FileDescriptor errors;
   std::string errorText;
   std::optional<Ending> ending;

   Ending Reap();
};

struct Completion {
   Ending ending;
   std::string errors; // what it wrote to its standard error
};

// Starts the program and waits for its end. One that takes longer is killed. Throws Error then, or
// if it can't be executed.
Completion RunToEnd(Command const& command, Milliseconds deadline);

} // namespace vnet::process
