/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Numbers from text. */
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * True if text is one whole decimal integer that fits an int: an optional sign, digits, nothing
 * before or after. Then *out holds it; otherwise *out is left alone.
 */
bool StrUtil_StrToInt(int* out, const char* text);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
