// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/str.h"

#include "base/panic.h"

#include <cstdarg>
#include <cstdio>

int Str_Sprintf(char* buffer, size_t size, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   int length = std::vsnprintf(buffer, size, format, arguments);
   va_end(arguments);
   if (length < 0 || static_cast<size_t>(length) >= size) {
      Panic("Str_Sprintf: \"%s\" doesn't fit %zu bytes\n", format, size);
   }
   return length;
}
