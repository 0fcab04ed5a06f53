// SPDX-License-Identifier: GPL-2.0-or-later
#include "tvnetcfg/common/texts.hh"

#include <string>

namespace netcfg::common {

namespace {

utf::string Controls()
{
   std::string text;
   for (char c = 1; c < 32; ++c) {
      text += c;
   }
   return (text + "\x7F").c_str();
}

} // namespace

std::vector<utf::string> const& OddTexts()
{
   static std::vector<utf::string> const texts = {
      "",
      "192.168.1.0",
      " outer space ",
      Controls(),
      "\u0001\u001F",
      "\" \\ / \\u0041 \\\"",
      "{[\"a\":\"b\"]}",
      "true",
      "-1",
      "null",
      "0",
      "%s%n",
      "B\u00FCro",
      "\u0080\u07FF\u0800\u2028\u2029\uFEFF\uFFFD\uFFFE\uFFFF",
      "\uD7FF\uE000",
      "\U00010000\U0001D11E\U0001F600\U0010FFFF",
      "\u65E5\u672C\u8A9E",
      "@&!*@*@(msg.x)text",
   };
   return texts;
}

} // namespace netcfg::common
