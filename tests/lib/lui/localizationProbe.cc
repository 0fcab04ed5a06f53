// SPDX-License-Identifier: GPL-2.0-or-later
// Prints a message in the user's language, and whether the user's locale is known.
#include "cui/localString.hh"
#include "lui/localization.hh"

#include <cstdio>

int main()
{
   bool const isKnown = lui::Utils::InitLocalization();
   std::printf("%s %s\n", isKnown ? "known" : "unknown",
               cui::GetLocalString("@&!*@*@(msg.probe)Automatic").c_str());
}
