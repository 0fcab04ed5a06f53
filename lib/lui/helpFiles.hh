// SPDX-License-Identifier: GPL-2.0-or-later
// Where the pages of the help are: a folder for each language that has some, and C, which has all.
#pragma once

#include "utf/string.hh"

#include <string>

namespace lui {

// The file of a topic's page, in the program's language if there is one; "" if the topic isn't
// known. The file needn't exist.
std::string FindHelpPage(utf::string const& topic);

// The page that leads to all others, in the language of a page's file.
std::string FindHelpContents(std::string const& file);

// The file that a link of a page leads to.
std::string FindLinkedPage(std::string const& file, std::string const& target);

} // namespace lui
