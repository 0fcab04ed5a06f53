// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/processDouble.hh"

#include "base/log.h"
#include "base/panic.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

void Make(char const* format, va_list arguments)
{
   char* text = nullptr;
   if (vasprintf(&text, format, arguments) < 0) {
      std::abort();
   }
   std::free(text);
}

} // namespace

void Warning(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Make(format, arguments);
   va_end(arguments);
}

void Log(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Make(format, arguments);
   va_end(arguments);
}

void LogV(int, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Make(format, arguments);
   va_end(arguments);
}

void Panic(const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   Make(format, arguments);
   va_end(arguments);
   throw fuzz::Panicked();
}
