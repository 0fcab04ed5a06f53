/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Descriptors that the libraries watch, served by the toolkit's main loop. */
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

typedef void (*PollCallback)(int fd, void* data);

/* Joins the polling to GLib's default main context. Calling it twice is calling it once. */
void Poll_InitGtk(void);

/* Ends what Poll_InitGtk began and forgets all callbacks. */
void Poll_Exit(void);

/*
 * Calls callback once from the main loop when fd becomes readable or its other end closes.
 * A second callback for the same fd replaces the first. May be called before Poll_InitGtk.
 * The descriptor stays the caller's. False if fd is negative or callback null.
 */
bool Poll_CallbackOnce(int fd, PollCallback callback, void* data);

/* Takes the callback of fd back; nothing happens if it has none. */
void Poll_CallbackRemove(int fd);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
