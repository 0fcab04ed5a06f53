// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/logLine.hh"

#include <cstdio>
#include <cstdlib>
#include <glib.h>
#include <vector>

namespace base {

namespace {

constexpr std::string_view CUT_MARK = "...";

// Takes the bytes of a character that the cut has left incomplete off the end.
void DropPartialCharacter(std::string& text)
{
   size_t start = text.size();
   while (start > 0 && text.size() - start < 4) {
      --start;
      auto byte = static_cast<unsigned char>(text[start]);
      if ((byte & 0xC0) == 0x80) {
         continue;
      }
      if (byte >= 0xC0 && !g_utf8_validate(&text[start], text.size() - start, nullptr)) {
         text.resize(start);
      }
      return;
   }
}

bool IsPlain(gunichar character)
{
   switch (g_unichar_type(character)) {
   case G_UNICODE_CONTROL:
   case G_UNICODE_LINE_SEPARATOR:
   case G_UNICODE_PARAGRAPH_SEPARATOR:
   // Marks that turn the direction of writing could make a line read as another.
   case G_UNICODE_FORMAT:
      return false;
   default:
      return true;
   }
}

void AppendEscapedBytes(std::string& out, std::string_view bytes)
{
   if (bytes == "\n" || bytes == "\t" || bytes == "\r") {
      out += bytes == "\n" ? "\\n" : bytes == "\t" ? "\\t" : "\\r";
      return;
   }
   for (unsigned char byte : bytes) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", byte);
      out += hex;
   }
}

// Moves the first character of rest, or its first byte if that isn't one, to out.
void AppendCharacter(std::string& out, std::string_view& rest)
{
   gunichar character = g_utf8_get_char_validated(rest.data(), static_cast<gssize>(rest.size()));
   // Both results for a broken sequence, (gunichar)-1 and (gunichar)-2, lie beyond Unicode. A NUL
   // byte is a broken sequence to some versions of GLib, and a control character in any case.
   bool valid = character <= 0x10FFFF;
   size_t length = valid ? static_cast<size_t>(g_unichar_to_utf8(character, nullptr)) : 1;
   std::string_view bytes = rest.substr(0, length);
   if (valid && IsPlain(character)) {
      out += bytes;
   } else {
      AppendEscapedBytes(out, bytes);
   }
   rest.remove_prefix(length);
}

std::string TimeText(timespec const& time)
{
   tm local = {};
   localtime_r(&time.tv_sec, &local);
   char seconds[32];
   std::strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &local);
   long minutes = local.tm_gmtoff / 60;
   char text[128];
   std::snprintf(text, sizeof text, "%s.%03ld%c%02ld:%02ld", seconds, time.tv_nsec / 1000000,
                 minutes < 0 ? '-' : '+', std::labs(minutes) / 60, std::labs(minutes) % 60);
   return text;
}

} // namespace

std::string FormatLogText(char const* format, va_list arguments)
{
   std::vector<char> buffer(MAX_LOG_TEXT + 1);
   int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
   if (length < 0) {
      return format;
   }
   std::string text = buffer.data();
   if (static_cast<size_t>(length) > MAX_LOG_TEXT) {
      text.resize(MAX_LOG_TEXT - CUT_MARK.size());
      DropPartialCharacter(text);
      text += CUT_MARK;
   }
   return text;
}

std::string EscapeLogText(std::string_view text)
{
   if (text.ends_with('\n')) {
      text.remove_suffix(1);
   }
   std::string out;
   while (!text.empty()) {
      AppendCharacter(out, text);
   }
   return out;
}

std::string MakeLogLine(timespec const& time, pid_t pid, char const* level, std::string_view text)
{
   return TimeText(time) + ' ' + std::to_string(pid) + ' ' + level + ' ' + EscapeLogText(text) +
          '\n';
}

} // namespace base
