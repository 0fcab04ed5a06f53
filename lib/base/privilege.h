/* SPDX-License-Identifier: GPL-2.0-or-later */
/* What a program with root's rights takes over from its starter, and which rights it gives up. */
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * The first call of a program that may run as root for somebody else. Sets the file mode mask to
 * 022, opens what lacks of the descriptors 0 to 2 on /dev/null, and has all others closed on exec.
 * As root it also empties the environment but for a language (LANG, LANGUAGE and LC_*, if they name
 * no path), sets PATH to the system's folders, and has no core written.
 */
void Privilege_CleanUp(void);

/*
 * Gives up, for good, whatever isn't needed to change the host's networks: capabilities of every
 * kind, the way to new ones by execution (no_new_privs), the starter's working directory, for "/",
 * and, of a process with root's rights, being traced or looked into by others of its user. Concerns
 * the calling thread and those that it starts afterwards. False, with a line in the log, if some of
 * it failed; the process can go on.
 */
bool Privilege_Drop(void);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
