// SPDX-License-Identifier: GPL-2.0-or-later
#include "cui/conversions.hh"

#include <algorithm>
#include <charconv>

namespace cui {

namespace {

constexpr char UNKNOWN[] = "?";
// Far more than any message takes; a larger number is a slip.
constexpr size_t MAX_ARGUMENTS = 32;

// A letter takes one of these, or none.
constexpr std::string_view LENGTHS[] = {"", "hh", "h", "l", "ll", "L", "q", "j", "z", "t", "Z"};

// The letters that take the same argument.
struct Kind {
   std::string_view letters;
   char const* type;
};

constexpr Kind KINDS[] = {
   {"di", "d"}, {"ouxX", "u"}, {"aAeEfFgG", "f"}, {"c", "c"}, {"C", "lc"},
   {"s", "s"},  {"S", "ls"},   {"p", "p"},        {"n", "n"},
};

class Parser {
public:
   explicit Parser(std::string_view format) : rest(format) {}

   std::vector<std::string> Parse()
   {
      for (size_t at; (at = rest.find('%')) != std::string_view::npos;) {
         rest.remove_prefix(at + 1);
         TakeConversion();
      }
      Judge();
      return types;
   }

private:
   // One conversion, from behind its percent sign: number, flags, width, precision, length, letter.
   void TakeConversion()
   {
      if (TakeOne("%")) {
         return;
      }
      size_t const number = TakeNumber();
      TakeAll("-+ #0'I");
      TakeAmount();
      if (TakeOne(".")) {
         TakeAmount();
      }
      std::string_view const length = TakeAll("hlLqjztZ");
      char const letter = rest.empty() ? '\0' : rest.front();
      rest.remove_prefix(rest.empty() ? 0 : 1);
      AddLetter(number, length, letter);
   }

   void AddLetter(size_t number, std::string_view length, char letter)
   {
      if (letter == 'm') {
         broken = broken || number > 0; // strerror(errno), no argument
         return;
      }
      auto const kind =
         std::find_if(std::begin(KINDS), std::end(KINDS), [letter](Kind const& entry) {
            return entry.letters.find(letter) != std::string_view::npos;
         });
      bool const known =
         std::find(std::begin(LENGTHS), std::end(LENGTHS), length) != std::end(LENGTHS);
      if (kind == std::end(KINDS) || !known) {
         broken = true;
         return;
      }
      Add(number, std::string(length) + kind->type);
   }

   // A width or a precision: digits, or an argument of its own.
   void TakeAmount()
   {
      if (TakeOne("*")) {
         Add(TakeNumber(), "d");
      } else {
         TakeAll("0123456789");
      }
   }

   // The N of "N$"; 0 if there is none.
   size_t TakeNumber()
   {
      size_t number = 0;
      char const* const end = rest.data() + rest.size();
      auto const [stop, error] = std::from_chars(rest.data(), end, number);
      if (stop == rest.data() || stop == end || *stop != '$') {
         return 0;
      }
      rest.remove_prefix(stop + 1 - rest.data());
      broken = broken || error != std::errc() || number == 0 || number > MAX_ARGUMENTS;
      return number;
   }

   void Add(size_t number, std::string const& type)
   {
      numbered = numbered || number > 0;
      counted = counted || number == 0;
      size_t const index = number > 0 ? number - 1 : types.size();
      if (index >= MAX_ARGUMENTS) {
         broken = true;
         return;
      }
      types.resize(std::max(types.size(), index + 1));
      broken = broken || (!types[index].empty() && types[index] != type);
      types[index] = type;
   }

   // printf leaves a mixture and a number that nobody names undefined.
   void Judge()
   {
      bool const hole = std::find(types.begin(), types.end(), "") != types.end();
      if (broken || hole || (numbered && counted)) {
         types.emplace_back(UNKNOWN);
      }
   }

   bool TakeOne(std::string_view character)
   {
      bool const there = rest.starts_with(character);
      rest.remove_prefix(there ? 1 : 0);
      return there;
   }

   std::string_view TakeAll(std::string_view characters)
   {
      std::string_view const taken = rest.substr(0, rest.find_first_not_of(characters));
      rest.remove_prefix(taken.size());
      return taken;
   }

   std::string_view rest;
   std::vector<std::string> types;
   bool numbered = false;
   bool counted = false;
   bool broken = false;
};

} // namespace

std::vector<std::string> GetConversions(std::string_view format)
{
   return Parser(format).Parse();
}

} // namespace cui
