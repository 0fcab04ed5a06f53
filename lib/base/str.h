/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Formatting into a buffer. */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * snprintf(3) into buffer of size bytes. Returns the number of bytes written without the NUL.
 * A text that doesn't fit is a mistake of the caller and ends the process.
 */
__attribute__((format(printf, 3, 4))) int Str_Sprintf(char* buffer, size_t size, const char* format,
                                                      ...);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
