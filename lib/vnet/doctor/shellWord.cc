// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/doctor/shellWord.hh"

#include <algorithm>
#include <cctype>

namespace vnet::doctor {

namespace {

bool IsHarmless(unsigned char character)
{
   return std::isalnum(character) != 0 ||
          std::string_view("-_.:@/").find(static_cast<char>(character)) != std::string_view::npos;
}

} // namespace

// Between single marks nothing has a meaning but the mark itself (POSIX, 2.2.2).
std::string MakeShellWord(std::string_view text)
{
   if (!text.empty() && std::ranges::all_of(text, IsHarmless)) {
      return std::string(text);
   }
   std::string word = "'";
   for (char const character : text) {
      word += character == '\'' ? std::string("'\\''") : std::string(1, character);
   }
   return word + "'";
}

} // namespace vnet::doctor
