// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/format.hh"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace cui {

utf::string Format(char const* format, ...)
{
   char* formatted = nullptr;
   va_list arguments;
   va_start(arguments, format);
   int const length = vasprintf(&formatted, format, arguments);
   va_end(arguments);
   if (length < 0) {
      return format;
   }
   std::unique_ptr<char, decltype(&std::free)> const owner(formatted, &std::free);
   return utf::string(formatted, length);
}

} // namespace cui
