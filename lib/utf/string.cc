// SPDX-License-Identifier: GPL-2.0-or-later
#include "utf/string.hh"

#include <glib.h>

#include <cstring>
#include <string_view>

namespace utf {

// Everything works on the bytes: Glib::ustring finds a character by walking to it, so a loop over
// its positions would be quadratic. A valid needle can only match at a character's first byte.
namespace {

constexpr char REPLACEMENT[] = "\xEF\xBF\xBD";

bool IsContinuation(char byte)
{
   return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The number of characters in valid UTF-8.
unsigned long CountCharacters(std::string_view raw)
{
   unsigned long count = 0;
   for (char byte : raw) {
      count += !IsContinuation(byte);
   }
   return count;
}

// The byte at which the character stands that is count characters behind the byte from; the end if
// there aren't as many.
size_t Advance(std::string_view raw, size_t from, unsigned long count)
{
   size_t at = from;
   while (count > 0 && at < raw.size()) {
      do {
         ++at;
      } while (at < raw.size() && IsContinuation(raw[at]));
      --count;
   }
   return at;
}

// memmem(3) is linear whatever the needle, which std::string::find isn't. A single byte, the usual
// separator, doesn't need its preparations; the sanitizers look at the whole rest at each.
size_t FindBytes(std::string_view raw, std::string_view needle, size_t from)
{
   char const* const rest = raw.data() + from;
   void const* found = needle.size() == 1
                          ? std::memchr(rest, needle[0], raw.size() - from)
                          : memmem(rest, raw.size() - from, needle.data(), needle.size());
   return found ? static_cast<char const*>(found) - raw.data() : std::string_view::npos;
}

// The bytes as valid UTF-8, each invalid one replaced. GLib takes a NUL for invalid; here it is a
// character like others.
std::string MakeValid(char const* text, size_t bytes)
{
   std::string valid;
   valid.reserve(bytes);
   char const* const end = text + bytes;
   while (text < end) {
      char const* stop = nullptr;
      g_utf8_validate_len(text, end - text, &stop);
      valid.append(text, stop);
      if (stop == end) {
         break;
      }
      *stop ? valid.append(REPLACEMENT) : valid.append(1, '\0');
      text = stop + 1;
   }
   return valid;
}

// One character with its case taken away. It may become several: U+00DF folds to "ss".
std::string Fold(std::string_view character)
{
   if (character == std::string_view("", 1)) {
      return std::string(character);
   }
   char* folded = g_utf8_casefold(character.data(), static_cast<gssize>(character.size()));
   std::string result(folded);
   g_free(folded);
   return result;
}

// Folds whole characters from the front of raw until there are at least enough bytes.
std::string FoldFront(std::string_view raw, size_t enough)
{
   std::string folded;
   size_t at = 0;
   while (at < raw.size() && folded.size() < enough) {
      size_t const next = Advance(raw, at, 1);
      folded += Fold(raw.substr(at, next - at));
      at = next;
   }
   return folded;
}

bool StartsWithFolded(std::string_view raw, std::string_view prefix)
{
   std::string const wanted = FoldFront(prefix, std::string::npos);
   return FoldFront(raw, wanted.size()).compare(0, wanted.size(), wanted) == 0;
}

} // namespace

const unsigned long string::npos = std::string::npos;

string::string(char const* text) : string(text, text ? std::strlen(text) : 0) {}

string::string(Glib::ustring const& text) : string(text.data(), text.bytes()) {}

string::string(char const* text, unsigned long bytes)
{
   if (text) {
      this->text = MakeValid(text, bytes);
   }
}

unsigned long string::find(string const& needle, unsigned long start) const
{
   std::string_view const raw = text.raw();
   size_t const from = Advance(raw, 0, start);
   if (from == raw.size() && start > CountCharacters(raw)) {
      return npos;
   }
   size_t const found = FindBytes(raw, needle.text.raw(), from);
   return found == std::string_view::npos ? npos
                                          : start + CountCharacters(raw.substr(from, found - from));
}

string string::substr(unsigned long pos, unsigned long count) const
{
   std::string_view const raw = text.raw();
   size_t const from = Advance(raw, 0, pos);
   size_t const to = Advance(raw, from, count);
   string part;
   part.text = std::string(raw.substr(from, to - from));
   return part;
}

std::vector<string> string::split(string const& separator, unsigned long limit) const
{
   std::string_view const raw = text.raw();
   std::string_view const mark = separator.text.raw();
   std::vector<string> parts;
   size_t from = 0;
   for (bool last = false; !last;) {
      size_t end = std::string_view::npos;
      if (!mark.empty() && (limit == 0 || parts.size() + 1 < limit)) {
         end = FindBytes(raw, mark, from);
      }
      last = end == std::string_view::npos;
      parts.emplace_back().text = std::string(raw.substr(from, last ? end : end - from));
      from = end + mark.size();
   }
   return parts;
}

bool string::startsWith(string const& prefix, bool ignoreCase) const
{
   if (ignoreCase) {
      return StartsWithFolded(text.raw(), prefix.text.raw());
   }
   return std::string_view(text.raw()).starts_with(prefix.text.raw());
}

string string::operator+(string const& other) const
{
   string sum;
   sum.text = text.raw() + other.text.raw();
   return sum;
}

string IntToStr(long value)
{
   return std::to_string(value).c_str();
}

void CreateWritableBuffer(string const& text, std::vector<char>& buffer)
{
   buffer.assign(text.c_str(), text.c_str() + text.bytes() + 1);
}

} // namespace utf
