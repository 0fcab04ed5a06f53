// SPDX-License-Identifier: GPL-2.0-or-later
// The system's text type.
#pragma once

#include <glibmm/ustring.h>
#include <string>
#include <vector>

namespace utf {

// A Unicode text, always valid UTF-8: bytes that aren't are replaced on the way in, each by one
// U+FFFD. A NUL is a character like others; only what reads c_str() alone ends at it. Positions and
// sizes count characters, unless told otherwise. No operation takes more than linear time.
class string {
public:
   static const unsigned long npos;

   string() = default;
   // From UTF-8 text; null reads as the empty text.
   string(char const* text);
   string(Glib::ustring const& text);
   // From `bytes` bytes at `text`, NULs included.
   string(char const* text, unsigned long bytes);
   string(string const&) = default;
   string(string&&) noexcept = default;
   ~string() = default;
   string& operator=(string const&) = default;
   string& operator=(string&&) noexcept = default;

   // The text itself, not a copy; valid as long as this string.
   operator Glib::ustring const&() const { return text; }
   // Valid until the string changes.
   char const* c_str() const { return text.c_str(); }

   bool empty() const { return text.empty(); }
   // In characters. Linear in the length.
   unsigned long size() const { return text.size(); }
   // In bytes, without a closing NUL.
   unsigned long bytes() const { return text.bytes(); }

   // The position of the first needle at or after start; npos if there is none.
   unsigned long find(string const& needle, unsigned long start) const;
   // At most count characters from pos on; empty if pos is at or behind the end.
   string substr(unsigned long pos, unsigned long count) const;
   // The parts between the separators, empty ones included, so always at least one. A limit above
   // 0 is the largest number of parts: the last one then holds the rest. An empty separator
   // doesn't split.
   std::vector<string> split(string const& separator, unsigned long limit) const;
   // With ignoreCase, letters match whatever their case, by Unicode's case folding.
   bool startsWith(string const& prefix, bool ignoreCase) const;

   // By bytes, whatever the locale: UTF-8 orders as its code points do.
   bool operator==(string const& other) const { return text.raw() == other.text.raw(); }
   bool operator!=(string const& other) const { return text.raw() != other.text.raw(); }
   bool operator<(string const& other) const { return text.raw() < other.text.raw(); }

   string operator+(string const& other) const;

private:
   Glib::ustring text;
};

// The decimal text of value, whatever the locale.
string IntToStr(long value);

// Fills buffer with the text's bytes and a closing NUL, to be edited in place.
void CreateWritableBuffer(string const& text, std::vector<char>& buffer);

} // namespace utf
