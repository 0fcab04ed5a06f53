// SPDX-License-Identifier: GPL-2.0-or-later
// Prints a message in the user's language, and whether the user's locale is known; with an
// argument, a text of the system's that is to stay as it is.
#include "cui/localString.hh"
#include "lui/localization.hh"
#include "lui/systemTexts.hh"

#include <cerrno>
#include <cstdio>
#include <cstring>

int main(int argc, char**)
{
   bool const isKnown = lui::Utils::InitLocalization();
   if (argc > 1) {
      lui::Utils::KeepSystemTexts();
      std::printf("%s\n", std::strerror(ENOENT));
      return 0;
   }
   std::printf("%s %s\n", isKnown ? "known" : "unknown",
               cui::GetLocalString("@&!*@*@(msg.probe)Automatic").c_str());
}
