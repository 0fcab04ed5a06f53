/* SPDX-License-Identifier: GPL-2.0-or-later */
/* System calls with UTF-8 arguments. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * open(2) with O_CLOEXEC. Returns a descriptor, or -1 with errno set.
 *
 * A path /proc/<pid>/fd/<n> is a pipe that a client hands to a server with more rights, and the
 * client chose both numbers. So it opens only if the process lives, belongs to the user who started
 * this process (perhaps through an elevation tool), and the descriptor is an unnamed pipe of that
 * user's. The opening never blocks, and of flags only the access mode and O_NONBLOCK count. Any
 * other path to a process's descriptors fails with EINVAL, a process or descriptor that won't do
 * with ESRCH or EACCES.
 */
int Posix_Open(const char* path, int flags);

/* execv(2): returns only on failure. */
int Posix_Execv(const char* path, char* const argv[]);

/* getenv(3). */
char* Posix_Getenv(const char* name);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
