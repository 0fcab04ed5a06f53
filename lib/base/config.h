/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Reading of settings files into a dictionary. */
#pragma once

#include "base/dictionary.h"

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * Adds the settings of the file to dict: lines `key = "value"`, blank lines, and comments from "#".
 * Later lines win. A line that isn't one of these is skipped with a warning. The file must be a
 * regular one of at most 1 MiB of UTF-8, and isn't opened through a symbolic link.
 * True if the file was read, or isn't there.
 */
bool Config_LoadFile(Dictionary* dict, const char* path);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
