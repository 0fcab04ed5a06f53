// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz/script.hh"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace fuzz {

namespace {

// The byte behind "\x" and what takes its place; the text moves behind it.
char TakeHex(std::string_view& text)
{
   unsigned int value = 0;
   auto const size = std::min<std::size_t>(2, text.size());
   auto const end = std::from_chars(text.data(), text.data() + size, value, 16).ptr;
   text.remove_prefix(static_cast<std::size_t>(end - text.data()));
   return static_cast<char>(value);
}

std::string Unescape(std::string_view text)
{
   std::string result;
   while (!text.empty()) {
      char const byte = text[0];
      text.remove_prefix(1);
      if (byte != '\\' || text.empty()) {
         result += byte;
         continue;
      }
      char const letter = text[0];
      text.remove_prefix(1);
      result += letter == 'n' ? '\n' : letter == 's' ? ' ' : letter == 'x' ? TakeHex(text) : letter;
   }
   return result;
}

} // namespace

std::string ScriptLine::TakeWord()
{
   auto const end = std::min(rest.find(' '), rest.size());
   std::string const word = Unescape(rest.substr(0, end));
   rest.remove_prefix(std::min(end + 1, rest.size()));
   return word;
}

std::string ScriptLine::TakeRest()
{
   std::string const all = Unescape(rest);
   rest = {};
   return all;
}

std::uint32_t ScriptLine::TakeNumber()
{
   return static_cast<std::uint32_t>(std::strtoll(TakeWord().c_str(), nullptr, 0));
}

std::vector<ScriptLine> ReadScript(std::string_view text)
{
   std::vector<ScriptLine> lines;
   while (!text.empty()) {
      auto const end = std::min(text.find('\n'), text.size());
      lines.emplace_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
   }
   return lines;
}

} // namespace fuzz
