/* SPDX-License-Identifier: GPL-2.0-or-later */
/* A dictionary from text to text. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

typedef struct Dictionary Dictionary;

/* Returns a new empty dictionary, owned by the caller. */
Dictionary* Dictionary_Create(void);

/* Frees a dictionary; null is accepted. */
void Dictionary_Free(Dictionary* dict);

/* Stores value under key, in place of what was there. A null value removes the key. */
void Dict_SetString(Dictionary* dict, const char* value, const char* key);

/* The text under key, or fallback. Valid until the key is set again or the dictionary is freed. */
const char* Dict_GetString(const Dictionary* dict, const char* fallback, const char* key);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
