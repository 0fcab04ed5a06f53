/* SPDX-License-Identifier: GPL-2.0-or-later */
/* The end of a process that has met what must not occur. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * Writes the text to the log and to standard error and ends the process by SIGABRT, whatever
 * handler or mask it has for that. Doesn't return.
 */
__attribute__((format(printf, 1, 2), noreturn)) void Panic(const char* format, ...);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

/* Marks a place that can't be reached. path is the source's name without its ending. */
#define NOT_REACHED_AT(path, line) Panic("NOT_REACHED %s:%d\n", path, line)

/* Marks a choice that a window doesn't know. */
#define NOT_IMPLEMENTED_AT(path, line) Panic("NOT_IMPLEMENTED %s:%d\n", path, line)
