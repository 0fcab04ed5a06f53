/* SPDX-License-Identifier: GPL-2.0-or-later */
/*
 * The process's log. A process that set a file up writes there; one that didn't writes to the
 * system log, and to standard error too if that is a terminal.
 */
#pragma once

#include "base/dictionary.h"

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How the log reads its settings out of a dictionary. */
typedef struct LogCfgInterface LogCfgInterface;

/* An open log file. */
typedef struct LogOutput LogOutput;

/* The severities of LogV: the lower, the more important. */
enum {
   LOG_SEVERITY_ERROR = 0,
   LOG_SEVERITY_WARNING = 1,
   LOG_SEVERITY_FAILURE = 2, /* a step failed, the work goes on */
   LOG_SEVERITY_INFO = 4,    /* what Log writes with */
   LOG_SEVERITY_DEFAULT = 5, /* the least important one that is written unless configured */
   LOG_SEVERITY_TRACE = 7,
   LOG_SEVERITY_MAX = 9,
};

/* The interface that Log_InitWithFileInt takes. A constant of the library. */
const LogCfgInterface* Log_CfgInterface(void);

/* Records the product for the header line of the log. The texts are copied; null reads as empty. */
void Log_SetProductInfo(const char* name, const char* version, const char* buildNumber,
                        const char* compilationOption);

/*
 * Starts logging to a file of this process's own below $XDG_STATE_HOME/tavrin (by default
 * ~/.local/state/tavrin), named "<prefix>-<pid>.log" by the dictionary's "log.suffix", with
 * prefix as the fallback. Its "log.config" names a preference that overrides the whole path.
 * The file has mode 0600 and isn't opened through a symbolic link. With filePerProcess it is a new
 * one, and of the files of the same prefix the ten newest are kept; without, it is "<prefix>.log",
 * and lines are appended.
 * Returns the output, which lives to the end of the process, or null.
 */
LogOutput* Log_InitWithFileInt(const char* prefix, Dictionary* dict, const LogCfgInterface* cfg,
                               int filePerProcess);

/* The path of the log file; never null. */
const char* Log_GetOutputFileName(const LogOutput* output);

/* Sets the least important severity that is still written. Initially preference "log.level". */
void Log_SetLevel(int severity);

/* Writes a line of level "warning". */
__attribute__((format(printf, 1, 2))) void Warning(const char* format, ...);

/* Writes a line of level "info". */
__attribute__((format(printf, 1, 2))) void Log(const char* format, ...);

/* Writes a line of the given severity if it is at most the configured level. */
__attribute__((format(printf, 2, 3))) void LogV(int severity, const char* format, ...);

#ifdef __cplusplus
}
#endif
