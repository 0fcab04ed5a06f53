// SPDX-License-Identifier: GPL-2.0-or-later
// The inputs of the setters' fuzzer: a call a line, so that people can write and read them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// Words with single spaces between; the last one that is asked for takes the rest of the line. In a
// word, \n, \s (a space), \\ and \xNN stand for what can't stand in it.
class ScriptLine {
public:
   explicit ScriptLine(std::string_view text) : rest(text) {}

   // The empty text when there is no more.
   std::string TakeWord();
   std::string TakeRest();
   // A decimal or, with 0x, hexadecimal number, cut to its type; 0 for anything else.
   std::uint32_t TakeNumber();
   bool TakeFlag() { return TakeNumber() != 0; }

private:
   std::string_view rest;
};

std::vector<ScriptLine> ReadScript(std::string_view text);

} // namespace fuzz
