/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Text handling at process start. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/*
 * Prepares text handling: replaces *argv by a copy in which every argument is valid UTF-8, and
 * which is padded with empty texts to at least four entries before the closing null, so that a
 * position that the command line lacks reads as empty. Replaces *env, unless env is null, by a copy
 * in which every text is valid UTF-8. The copies live to the end of the process.
 */
void Unicode_Init(int argc, char*** argv, char*** env);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
