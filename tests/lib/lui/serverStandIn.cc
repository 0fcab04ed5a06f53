// SPDX-License-Identifier: GPL-2.0-or-later
// Stands in for the program in its server's role. Its last argument is the process id of its
// client. Says how it ends: asked to, or because the client has gone.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

int main(int argc, char** argv)
{
   int const client = argc > 1 ? std::atoi(argv[argc - 1]) : 0;
   sigset_t signals;
   sigemptyset(&signals);
   sigaddset(&signals, SIGTERM);
   sigprocmask(SIG_BLOCK, &signals, nullptr);

   timespec const interval{0, 5000000};
   while (client <= 0 || kill(client, 0) == 0 || errno == EPERM) {
      if (sigtimedwait(&signals, nullptr, &interval) == SIGTERM) {
         std::puts("server terminated");
         return 1;
      }
   }
   std::puts("client gone");
   return 0;
}
