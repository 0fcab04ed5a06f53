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

   struct Run {
      utf::string text;
      bool isStrong = false;
   };

   struct Block {
      Style style;
      std::vector<Run> runs;
   };

   utf::string title;
   std::vector<Block> blocks;
   // Why the page can't be read; empty if it can.
   utf::string error;
};

// The file of a topic's page, in the user's language if there is one; "" if the topic isn't known.
// The file needn't exist.
std::string FindHelpPage(utf::string const& topic);

// Reads title, h1, h2, p, li, dt, dd, and strong or kbd within them. Other elements are an error.
HelpPage ReadHelpPage(std::string const& file);

} // namespace lui
