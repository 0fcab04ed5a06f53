// SPDX-License-Identifier: GPL-2.0-or-later
// utf::string against what a plain loop over the characters says.
//
// Input: the first byte is a position, the second a limit; the rest is a text, a NUL, and a needle.
#include "fuzz/require.hh"
#include "fuzz/target.hh"
#include "utf/string.hh"

#include <algorithm>
#include <glib.h>

using fuzz::Require;
using Characters = std::u32string;

namespace {

std::string Bytes(utf::string const& text)
{
   return {text.c_str(), text.bytes()};
}

// Decodes by the definition (RFC 3629), NULs included; each byte that begins no character becomes
// U+FFFD.
Characters Decode(std::string_view bytes)
{
   Characters result;
   while (!bytes.empty()) {
      auto const lead = static_cast<unsigned char>(bytes[0]);
      std::size_t const size = lead < 0x80             ? 1
                               : (lead & 0xe0) == 0xc0 ? 2
                               : (lead & 0xf0) == 0xe0 ? 3
                               : (lead & 0xf8) == 0xf0 ? 4
                                                       : 0;
      char32_t character = size == 1 ? lead : size == 0 ? 0 : lead & (0x7f >> size);
      bool good = size > 0 && size <= bytes.size();
      for (std::size_t at = 1; good && at < size; ++at) {
         auto const next = static_cast<unsigned char>(bytes[at]);
         good = (next & 0xc0) == 0x80;
         character = character << 6 | (next & 0x3f);
      }
      static constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
      bool const surrogate = character >= 0xd800 && character < 0xe000;
      good = good && character >= least[size] && character <= 0x10ffff && !surrogate;
      result += good ? character : U'\ufffd';
      bytes.remove_prefix(good ? size : 1);
   }
   return result;
}

bool IsValid(utf::string const& text)
{
   std::string const bytes = Bytes(text);
   std::size_t at = 0;
   while (at <= bytes.size()) {
      std::size_t const end = std::min(bytes.find('\0', at), bytes.size());
      if (!g_utf8_validate(bytes.data() + at, static_cast<gssize>(end - at), nullptr)) {
         return false;
      }
      at = end + 1;
   }
   return true;
}

void CheckText(utf::string const& text, Characters const& expected)
{
   Require(IsValid(text), "a text is valid UTF-8");
   Require(Decode(Bytes(text)) == expected, "a text has the characters that it was made of");
   Require(text.size() == expected.size(), "the size counts the characters");
   Require(text.empty() == expected.empty(), "a text without characters is empty");
   Require(text.c_str()[text.bytes()] == '\0', "a NUL stands behind the bytes");
}

void CheckPositions(utf::string const& text, Characters const& expected, utf::string const& needle,
                    Characters const& needed, unsigned long position)
{
   auto const found = expected.find(needed, position);
   Require(text.find(needle, position) == (found == Characters::npos ? utf::string::npos : found),
           "find tells the character's position");
   auto const from = std::min<std::size_t>(position, expected.size());
   CheckText(text.substr(position, needed.size()), expected.substr(from, needed.size()));
   CheckText(text.substr(position, utf::string::npos), expected.substr(from));
   Require(text.startsWith(needle, false) == expected.starts_with(needed),
           "startsWith compares exactly");
   Require(!text.startsWith(needle, false) || text.startsWith(needle, true),
           "what starts a text exactly starts it whatever the case");
}

void CheckParts(utf::string const& text, utf::string const& separator, unsigned long limit)
{
   auto const parts = text.split(separator, limit);
   Require(!parts.empty() && (limit == 0 || parts.size() <= limit), "split keeps its limit");
   utf::string joined = parts[0];
   for (std::size_t at = 1; at < parts.size(); ++at) {
      joined = joined + separator + parts[at];
   }
   Require(joined == text, "the parts and separators make the text");
   bool const all = limit == 0 && !separator.empty();
   for (auto const& part : parts) {
      Require(IsValid(part), "a part is valid UTF-8");
      Require(!all || part.find(separator, 0) == utf::string::npos, "no part has a separator");
   }
}

void CheckPair(utf::string const& one, Characters const& first, utf::string const& other,
               Characters const& second)
{
   CheckText(one + other, first + second);
   Require((one == other) == (first == second) && (one != other) == (first != second),
           "texts are equal if their characters are");
   Require((one < other) == (first < second), "texts are ordered as their characters");
}

void CheckCopies(utf::string const& text)
{
   Glib::ustring const& toolkit = text;
   Require(utf::string(toolkit) == text, "a text survives the toolkit's type");
   std::vector<char> buffer;
   utf::CreateWritableBuffer(text, buffer);
   Require(std::string(buffer.begin(), buffer.end()) == Bytes(text) + '\0',
           "a buffer has the bytes and a NUL");
   Require(utf::string(text.c_str()) == text.substr(0, text.find(utf::string("\0", 1), 0)),
           "a text by its bytes alone ends at the first NUL");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   if (size < 2) {
      return 0;
   }
   unsigned long const position = data[0];
   unsigned long const limit = data[1] % 8;
   std::string_view const bytes = fuzz::ToText(data + 2, size - 2);
   std::size_t const end = std::min(bytes.rfind('\0'), bytes.size());
   std::string_view const front = bytes.substr(0, end);
   std::string_view const back = bytes.substr(std::min(end + 1, bytes.size()));

   utf::string const text(front.data(), front.size());
   utf::string const needle(back.data(), back.size());
   CheckText(text, Decode(front));
   CheckText(needle, Decode(back));
   CheckPositions(text, Decode(front), needle, Decode(back), position);
   CheckParts(text, needle, limit);
   CheckPair(text, Decode(front), needle, Decode(back));
   CheckCopies(text);
   return 0;
}
