/* SPDX-License-Identifier: GPL-2.0-or-later */
/*
 * Preloaded into a program: makes one system call fail, and tells of names and forks.
 *
 *    SYSTEM_DOUBLE_FAIL   "pipe", "pipe2nd" (the second pipe), "fork"
 *    SYSTEM_DOUBLE_LOG    a file that gets a line for each prctl(PR_SET_NAME) and fork
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

/* dlsym gives an object pointer; POSIX says it may be a function's. */
#define NEXT(name) ((__typeof__(&name))(uintptr_t)dlsym(RTLD_NEXT, #name))
#include <stdint.h>

static void Tell(const char* what, const char* detail)
{
   const char* const path = getenv("SYSTEM_DOUBLE_LOG");
   int const fd = path ? open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600) : -1;
   if (fd >= 0) {
      dprintf(fd, "%s %s\n", what, detail);
      close(fd);
   }
}

static int MustFail(const char* what)
{
   const char* const wanted = getenv("SYSTEM_DOUBLE_FAIL");
   return wanted && strcmp(wanted, what) == 0;
}

int pipe(int ends[2])
{
   static int calls;
   ++calls;
   if (MustFail("pipe") || (calls == 2 && MustFail("pipe2nd"))) {
      errno = EMFILE;
      return -1;
   }
   return NEXT(pipe)(ends);
}

pid_t fork(void)
{
   Tell("fork", "");
   if (MustFail("fork")) {
      errno = EAGAIN;
      return -1;
   }
   return NEXT(fork)();
}

int prctl(int option, ...)
{
   va_list list;
   va_start(list, option);
   unsigned long const a = va_arg(list, unsigned long);
   unsigned long const b = va_arg(list, unsigned long);
   unsigned long const c = va_arg(list, unsigned long);
   unsigned long const d = va_arg(list, unsigned long);
   va_end(list);
   if (option == PR_SET_NAME) {
      Tell("name", (const char*)a);
   }
   return (int)syscall(SYS_prctl, option, a, b, c, d);
}
