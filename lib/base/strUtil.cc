// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/strUtil.h"

#include <charconv>
#include <string_view>

namespace {

// from_chars knows "-" alone; a "+" is dropped here, but not in front of another sign.
std::string_view WithoutPlus(std::string_view text)
{
   bool plus = text.starts_with('+') && !text.starts_with("+-");
   return plus ? text.substr(1) : text;
}

} // namespace

bool StrUtil_StrToInt(int* out, const char* text)
{
   if (!text) {
      return false;
   }
   std::string_view number = WithoutPlus(text);
   int value = 0;
   auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
   if (error != std::errc() || end != number.data() + number.size()) {
      return false;
   }
   *out = value;
   return true;
}
