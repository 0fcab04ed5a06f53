// SPDX-License-Identifier: GPL-2.0-or-later
// in-private-etc PROGRAM [ARGUMENT...]: runs the program with an empty /etc/tavrin of its own. Ends
// with status 77 if such a thing can't be had, 127 if the program can't be run.
#include "support/privateEtc.hh"

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv)
{
   if (argc < 2) {
      std::fprintf(stderr, "usage: %s PROGRAM [ARGUMENT...]\n", argv[0]);
      return 2;
   }
   if (!test::HavePrivateEtc()) {
      std::fprintf(stderr, "%s\n", test::GetPrivateEtcProblem().c_str());
      return 77;
   }
   execv(argv[1], argv + 1);
   std::perror(argv[1]);
   return 127;
}
