/* SPDX-License-Identifier: GPL-2.0-or-later */
/* What this product is: its name, version and build. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/* Records the version of the help that goes with help system number system. */
void ProductState_SetHelp(int system, const char* version);

/* The help version recorded for that system, or the empty text. */
const char* ProductState_GetHelp(int system);

/* These return constants of the build, never null. */
const char* ProductState_GetName(void);
const char* ProductState_GetVersion(void);
const char* ProductState_GetBuildNumberString(void);
const char* ProductState_GetCompilationOption(void);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
