/* SPDX-License-Identifier: GPL-2.0-or-later */
/*
 * The process's log. A process that set a file up writes there; one that didn't writes to the
 * system log, and to standard error too if that is a terminal. So does a line that the file can't
 * take.
 */
#pragma once

#include "base/dictionary.h"

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

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
 * Starts logging to a file below $XDG_STATE_HOME/tavrin (by default ~/.local/state/tavrin). Its
 * name begins with the dictionary's "log.suffix", or with prefix if that isn't set. With
 * filePerProcess it is a new file "<name>-<pid>.log", and of the files of that name the ten newest
 * are kept; without, it is "<name>.log", and lines are appended. The dictionary's "log.config"
 * names a preference which, if it holds an absolute path, replaces directory and name; lines are
 * appended then too, and if that file won't do a warning says so and the other one is taken. The
 * file is regular, the caller's own, of mode 0600, and isn't opened through a symbolic link. Its
 * first line tells the product. Returns the output, which lives to the end of the process, or null
 * after a warning that tells why.
 */
LogOutput* Log_InitWithFileInt(const char* prefix, Dictionary* dict, const LogCfgInterface* cfg,
                               int filePerProcess);

/* The path of the log file; never null. */
const char* Log_GetOutputFileName(const LogOutput* output);

/*
 * Sets the least important severity that is still written. Until then it is the preference
 * "log.level", or LOG_SEVERITY_DEFAULT.
 */
void Log_SetLevel(int severity);

/*
 * Writes a line of level "warning", whatever the configured level. A line holds the time, the
 * process id, the level and the text. A closing newline of the text is optional; other control
 * characters are escaped, and a text above 8 KiB is cut. errno is left alone.
 */
__attribute__((format(printf, 1, 2))) void Warning(const char* format, ...);

/* Writes a line of level "info" if LOG_SEVERITY_INFO is at most the configured level. */
__attribute__((format(printf, 1, 2))) void Log(const char* format, ...);

/* Writes a line of the given severity if it is at most the configured level. */
__attribute__((format(printf, 2, 3))) void LogV(int severity, const char* format, ...);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif
