// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/logDouble.hh"

#include "base/log.h"
#include "base/panic.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

std::vector<std::string>& Lines()
{
   // Never destroyed: what runs at exit may still have something to say.
   static auto& lines = *new std::vector<std::string>;
   return lines;
}

int& Receiver()
{
   static int receiver = -1;
   return receiver;
}

void Note(std::string const& line)
{
   Lines().push_back(line);
   [[maybe_unused]] auto const written =
      Receiver() < 0 ? 0 : write(Receiver(), line.data(), line.size());
}

std::string Print(char const* format, va_list arguments)
{
   char text[4096];
   std::vsnprintf(text, sizeof text, format, arguments);
   return text;
}

} // namespace

namespace test {

std::vector<std::string> const& LogDouble::GetLines()
{
   return Lines();
}

void LogDouble::Clear()
{
   Lines().clear();
}

void LogDouble::PassOn(int descriptor)
{
   Receiver() = descriptor;
}

} // namespace test

void Warning(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Note("Warning: " + Print(format, arguments));
   va_end(arguments);
}

void Log(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Note("Log: " + Print(format, arguments));
   va_end(arguments);
}

void LogV(int severity, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Note("LogV(" + std::to_string(severity) + "): " + Print(format, arguments));
   va_end(arguments);
}

void Panic(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   std::vfprintf(stderr, format, arguments);
   va_end(arguments);
   std::abort();
}
