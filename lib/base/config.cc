// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/config.h"

#include "base/fileDescriptor.hh"
#include "base/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr size_t MAX_SIZE = 1024 * 1024;

// What a key may hold besides letters and digits.
constexpr std::string_view PUNCTUATION = "._-";

bool Refuse(char const* path, char const* reason)
{
   Warning("read settings %s: %s\n", path, reason);
   return false;
}

// One byte more than is allowed, at most, so that the caller sees a file that grew.
bool ReadAll(base::FileDescriptor const& file, std::string& text)
{
   char buffer[16384];
   while (text.size() <= MAX_SIZE) {
      ssize_t count = read(file.Get(), buffer, sizeof buffer);
      if (count == 0) {
         return true;
      }
      if (count < 0 && errno != EINTR) {
         return false;
      }
      text.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
   }
   return true;
}

// Why the file's text can't be had, or null.
char const* ReadSettings(base::FileDescriptor const& file, std::string& text)
{
   struct stat status = {};
   if (fstat(file.Get(), &status) != 0) {
      return std::strerror(errno);
   }
   if (!S_ISREG(status.st_mode)) {
      return "not a regular file";
   }
   if (!ReadAll(file, text)) {
      return std::strerror(errno);
   }
   if (text.size() > MAX_SIZE) {
      return "larger than 1 MiB";
   }
   bool valid = g_utf8_validate_len(text.data(), text.size(), nullptr);
   return valid ? nullptr : "not UTF-8 text";
}

void SkipBlanks(std::string_view& rest)
{
   size_t start = rest.find_first_not_of(" \t\r");
   rest.remove_prefix(std::min(start, rest.size()));
}

// The line is at its end, but for a comment.
bool IsFinished(std::string_view rest)
{
   SkipBlanks(rest);
   return rest.empty() || rest[0] == '#';
}

std::string TakeKey(std::string_view& rest)
{
   size_t length = 0;
   while (length < rest.size() &&
          (g_ascii_isalnum(rest[length]) || PUNCTUATION.find(rest[length]) != PUNCTUATION.npos)) {
      ++length;
   }
   std::string key(rest.substr(0, length));
   rest.remove_prefix(length);
   return key;
}

// A text in quotes, in which a backslash stands before a quote or a backslash.
std::optional<std::string> TakeQuoted(std::string_view& rest)
{
   std::string value;
   for (size_t i = 1; i < rest.size() && rest[0] == '"'; ++i) {
      if (rest[i] == '"') {
         rest.remove_prefix(i + 1);
         return value;
      }
      bool escape = rest[i] == '\\';
      i += escape ? 1 : 0;
      if (i >= rest.size() || (escape && rest[i] != '"' && rest[i] != '\\')) {
         return std::nullopt;
      }
      value += rest[i];
   }
   return std::nullopt;
}

// False if the line is none of the three kinds.
bool ReadLine(Dictionary* dict, std::string_view line)
{
   if (IsFinished(line)) {
      return true;
   }
   SkipBlanks(line);
   std::string key = TakeKey(line);
   SkipBlanks(line);
   if (key.empty() || !line.starts_with('=')) {
      return false;
   }
   line.remove_prefix(1);
   SkipBlanks(line);
   std::optional<std::string> value = TakeQuoted(line);
   if (!value || !IsFinished(line)) {
      return false;
   }
   Dict_SetString(dict, value->c_str(), key.c_str());
   return true;
}

void ReadLines(Dictionary* dict, char const* path, std::string_view text)
{
   for (int number = 1; !text.empty(); ++number) {
      size_t end = std::min(text.find('\n'), text.size());
      if (!ReadLine(dict, text.substr(0, end))) {
         Warning("settings %s:%d: not a line of the form key = \"value\"\n", path, number);
      }
      text.remove_prefix(std::min(end + 1, text.size()));
   }
}

} // namespace

bool Config_LoadFile(Dictionary* dict, const char* path)
{
   // O_NONBLOCK: the opening of a named pipe in the file's place must not hold us up.
   base::FileDescriptor file(open(path, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
   if (!file.IsOpen()) {
      return errno == ENOENT || errno == ENOTDIR || Refuse(path, std::strerror(errno));
   }
   std::string text;
   if (char const* reason = ReadSettings(file, text)) {
      return Refuse(path, reason);
   }
   ReadLines(dict, path, text);
   return true;
}
