/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Settings of the host (/etc/tavrin/config) and, above them, of the user. */
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * Opens the host's settings and the user's ($XDG_CONFIG_HOME/tavrin/preferences). A process with
 * effective user id 0 reads the host's alone: a user must not steer it. Keys that begin with
 * "feature." are the host's for everyone, since client and server must agree on them. False if a
 * file exists and can't be read; what could be read counts all the same. May be called again to
 * read anew.
 */
bool Preference_Init(void);

/* The text stored under key, or fallback. The result is valid until the next Preference_Init. */
const char* Preference_GetString(const char* fallback, const char* key);

/* The same for "TRUE"/"FALSE", "yes"/"no", "1"/"0" in any case; other texts give fallback. */
bool Preference_GetBool(bool fallback, const char* key);

/* The same for a decimal integer; other texts give fallback. */
int Preference_GetInt(int fallback, const char* key);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
