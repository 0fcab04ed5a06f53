// SPDX-License-Identifier: GPL-2.0-or-later
// The text of one line of the log.
#pragma once

#include <cstdarg>
#include <ctime>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace base {

// The longest text that a line carries, in bytes before escaping. Texts may stem from a peer or a
// file of any size; a log line must not.
inline constexpr size_t MAX_LOG_TEXT = 8192;

// vsnprintf(3) into a text of at most MAX_LOG_TEXT bytes; a longer one is cut at a character and
// ends in "...".
std::string FormatLogText(char const* format, va_list arguments);

// The text as one line's content: a closing newline is dropped, and every other control character,
// line separator and byte that isn't UTF-8 is written as an escape, so that no text can pass for a
// line of its own or steer a terminal.
std::string EscapeLogText(std::string_view text);

// "2024-01-31T12:00:00.123+01:00 <pid> <level> <text>" and a newline, in local time; text escaped.
std::string MakeLogLine(timespec const& time, pid_t pid, char const* level, std::string_view text);

} // namespace base
