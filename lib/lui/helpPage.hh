// SPDX-License-Identifier: GPL-2.0-or-later
// The pages of the help: well-formed HTML of a few elements, so that a viewer and a window of ours
// can both show them.
#pragma once

#include "utf/string.hh"

#include <string>
#include <vector>

namespace lui {

struct HelpPage {
   enum Style { PARAGRAPH, TITLE, HEADING, ITEM, TERM, DEFINITION };

   enum Look { PLAIN, STRONG, CODE, LINK };

   struct Run {
      utf::string text;
      Look look = PLAIN;
      // Of a link: the name of a page in the same folder.
      std::string target;
   };

   struct Block {
      Style style;
      // Of an item in a numbered list, from 1; otherwise 0.
      int number = 0;
      std::vector<Run> runs;
   };

   utf::string title;
   std::vector<Block> blocks;
   // Why the page can't be read; empty if it can.
   utf::string error;
};

// Reads title, h1, h2, p, li, dt and dd, and within them strong, kbd, code, and links to pages in
// the same folder. Other elements are an error.
HelpPage ReadHelpPage(std::string const& file);

} // namespace lui
