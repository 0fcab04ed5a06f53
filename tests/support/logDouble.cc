// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/logDouble.hh"

#include "base/log.h"
#include "base/panic.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

std::vector<std::string>& Lines()
{
   static std::vector<std::string> lines;
   return lines;
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

} // namespace test

void Warning(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Lines().push_back("Warning: " + Print(format, arguments));
   va_end(arguments);
}

void Log(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Lines().push_back("Log: " + Print(format, arguments));
   va_end(arguments);
}

void LogV(int severity, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Lines().push_back("LogV(" + std::to_string(severity) + "): " + Print(format, arguments));
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
