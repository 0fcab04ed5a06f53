// SPDX-License-Identifier: GPL-2.0-or-later
// The marker of GetLocalString, and the formats that a translation may have, against what the C
// library reads in a format.
//
// Input: a marked text, a NUL, and the translation that the catalogue gives for whatever is asked.
#include "cui/localString.hh"
#include "cui/conversions.hh"
#include "cui/format.hh"
#include "fuzz/require.hh"
#include "fuzz/target.hh"

#include <algorithm>
#include <iterator>
#include <libintl.h>
#include <optional>
#include <printf.h>
#include <string>
#include <vector>

using fuzz::Require;

namespace {

// What the catalogue was asked for, and what it answers.
std::string askedKey;
std::string answer;

} // namespace

// Stands before the C library's.
char* dgettext(char const* domain, char const* key) noexcept
{
   Require(std::string(domain) == "tavrin-netcfg", "the catalogue is ours");
   askedKey = key;
   return answer.data();
}

namespace {

constexpr std::size_t maxArguments = 64;

// "%ls" and "%S" are the same to printf(3); its parser tells the one as "%s", the other apart.
int Unite(int type)
{
   return type == PA_WSTRING ? PA_STRING : type == PA_WCHAR ? PA_CHAR : type;
}

// The arguments that printf would take, as its own parser tells.
std::optional<std::vector<int>> GetArguments(std::string const& format)
{
   int types[maxArguments] = {};
   std::size_t const count = parse_printf_format(format.c_str(), maxArguments, types);
   if (count > maxArguments) {
      return std::nullopt;
   }
   std::vector<int> arguments;
   std::transform(types, types + count, std::back_inserter(arguments), Unite);
   return arguments;
}

bool IsSafe(std::vector<std::string> const& conversions)
{
   return std::ranges::find(conversions, "?") == conversions.end();
}

// Of formats that are judged equal, printf must take the same.
void CheckConversions(std::string const& one, std::string const& other)
{
   auto const first = cui::GetConversions(one);
   if (!IsSafe(first)) {
      return;
   }
   auto const arguments = GetArguments(one);
   Require(arguments && arguments->size() == first.size(),
           "each conversion is an argument: " + one);
   if (cui::GetConversions(other) == first) {
      Require(GetArguments(other) == arguments, "equal conversions take equal arguments");
   }
}

// A field as wide as memory is the caller's wish.
bool IsNarrow(std::string const& format)
{
   std::size_t digits = 0;
   return std::ranges::none_of(format, [&digits](char byte) {
      digits = byte >= '0' && byte <= '9' ? digits + 1 : 0;
      return digits > 3;
   });
}

// With as many texts as a format of the program's own ever has.
void CheckFormatting(std::string const& format)
{
   auto const conversions = cui::GetConversions(format);
   bool const texts =
      std::ranges::all_of(conversions, [](auto const& type) { return type == "s"; });
   if (texts && conversions.size() <= 3 && IsNarrow(format)) {
      utf::string const made = cui::Format(format.c_str(), "one", "two", "three");
      Require(made.bytes() >= 3 || conversions.empty() || format.find('.') != std::string::npos,
              "a text that a format takes stands in the result");
   }
}

// The text behind the marker and a well-formed id.
std::optional<std::string> FindDefault(std::string const& marked)
{
   std::string const marker = "@&!*@*@(";
   if (!marked.starts_with(marker)) {
      return std::nullopt;
   }
   std::size_t at = marker.size();
   auto const isIdentifier = [](unsigned char byte) {
      return byte < 0x80 && (std::isalnum(byte) || byte == '.' || byte == '_' || byte == '-');
   };
   while (at < marked.size() && isIdentifier(marked[at])) {
      ++at;
   }
   bool const whole = at > marker.size() && at < marked.size() && marked[at] == ')';
   return whole ? std::optional(marked.substr(at + 1)) : std::nullopt;
}

void CheckTranslation(std::string const& marked, std::string const& original)
{
   utf::string const result = cui::GetLocalString(marked.c_str());
   std::string const id = marked.substr(8, marked.size() - original.size() - 9);
   Require(askedKey == id + '\004' + original, "the key is the id and the default text");
   bool const same = cui::GetConversions(answer) == cui::GetConversions(original);
   Require(result == utf::string(same ? answer.c_str() : original.c_str()),
           "the translation counts if it takes the default text's arguments");
   CheckFormatting(same ? answer : original);
}

void CheckPlain(std::string const& marked)
{
   askedKey.clear();
   utf::string const result = cui::GetLocalString(marked.c_str());
   Require(askedKey.empty(), "no catalogue is asked for a text without an id");
   Require(marked.starts_with("@&!*@*@") || result == utf::string(marked.c_str()),
           "a text without a marker comes back");
   Require(result.bytes() <= utf::string(marked.c_str()).bytes(), "nothing is added");
}

} // namespace

int LLVMFuzzerInitialize(int*, char***)
{
   cui::SetCatalogueDirectory("/nonexistent");
   return 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
   std::string const input(fuzz::ToText(data, size));
   std::string const marked = input.c_str();
   answer = input.c_str() + std::min(marked.size() + 1, input.size());

   CheckConversions(marked, answer);
   CheckConversions(answer, marked);
   if (auto const original = FindDefault(marked)) {
      CheckTranslation(marked, *original);
   } else {
      CheckPlain(marked);
   }
   return 0;
}
