// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/terminal.hh"

#include <cstdlib>
#include <unistd.h>

namespace vnet::cli {

namespace {

std::string_view GetVariable(char const* name)
{
   char const* const value = std::getenv(name);
   return value ? value : "";
}

} // namespace

bool WantsColours(int descriptor)
{
   auto const terminal = GetVariable("TERM");
   return isatty(descriptor) == 1 && !terminal.empty() && terminal != "dumb" &&
          GetVariable("NO_COLOR").empty();
}

// ECMA-48, 8.3.117.
std::string Paint::Wrap(char const* code, std::string const& text) const
{
   return colours && !text.empty() ? std::string("\x1b[") + code + "m" + text + "\x1b[0m" : text;
}

std::string MakePrintable(std::string_view text)
{
   static constexpr char digits[] = "0123456789abcdef";
   std::string printable;
   for (char const character : text) {
      auto const byte = static_cast<unsigned char>(character);
      if (byte >= ' ' && byte < 0x7f) {
         printable += character;
      } else {
         printable += std::string("\\x") + digits[byte >> 4] + digits[byte & 0xf];
      }
   }
   return printable;
}

} // namespace vnet::cli
