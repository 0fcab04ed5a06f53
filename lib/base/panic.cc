// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/panic.h"

#include "base/logLine.hh"
#include "base/processLog.hh"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

// abort(3) alone would run a handler first, which might never return.
[[noreturn]] void Die()
{
   struct sigaction standard = {};
   standard.sa_handler = SIG_DFL;
   sigaction(SIGABRT, &standard, nullptr);
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, SIGABRT);
   pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
   abort();
}

// Standard error may be a pipe that nobody reads: that must not decide how we end.
void IgnoreBrokenPipes()
{
   struct sigaction ignore = {};
   ignore.sa_handler = SIG_IGN;
   sigaction(SIGPIPE, &ignore, nullptr);
}

void Report(char const* format, va_list arguments) noexcept
{
   try {
      base::ProcessLog().Panic(base::FormatLogText(format, arguments));
   } catch (std::exception const&) {
      // No memory: the bare format still tells the place in the code.
      [[maybe_unused]] ssize_t count = write(STDERR_FILENO, format, std::strlen(format));
   }
}

} // namespace

void Panic(const char* format, ...)
{
   static std::atomic_flag begun;
   // What the report itself runs into must not begin another one.
   if (!begun.test_and_set()) {
      IgnoreBrokenPipes();
      va_list arguments;
      va_start(arguments, format);
      Report(format, arguments);
      va_end(arguments);
   }
   Die();
}
