// SPDX-License-Identifier: GPL-2.0-or-later
// Stands in for the watcher where the real one would mend by itself what a test breaks: started in
// the same way, it does nothing until it is told to end.
#include <unistd.h>

int main()
{
   for (;;) {
      pause();
   }
}
