// SPDX-License-Identifier: GPL-2.0-or-later
// Mutates snapshots, wherever they stand in an input: values become others, and the elements of
// objects and arrays come twice, go, and change places.
#include "fuzz/mutation.hh"

#include <vector>

using fuzz::Mutation;
using fuzz::Span;

namespace {

struct Json {
   std::vector<Span> strings;  // without their quotes
   std::vector<Span> elements; // "key":value, or the value in an array
};

// Takes any text; what isn't JSON gives odd spans, which do no harm.
Json Scan(std::string const& text)
{
   Json json;
   std::vector<std::size_t> starts;
   for (std::size_t at = 0; at < text.size(); ++at) {
      char const byte = text[at];
      if (byte == '"') {
         std::size_t const begin = at + 1;
         for (at = begin; at < text.size() && text[at] != '"'; ++at) {
            at += text[at] == '\\' ? 1 : 0;
         }
         json.strings.push_back({begin, std::min(at, text.size())});
      } else if (byte == '{' || byte == '[') {
         starts.push_back(at + 1);
      } else if (!starts.empty() && (byte == ',' || byte == '}' || byte == ']')) {
         json.elements.push_back({starts.back(), at});
         byte == ',' ? starts.back() = at + 1 : (starts.pop_back(), 0);
      }
   }
   return json;
}

void ChangeElement(Mutation& mutation, std::vector<Span> const& elements)
{
   Span const one = mutation.Choose(elements);
   Span const other = mutation.Choose(elements);
   switch (mutation.Below(3)) {
   case 0:
      mutation.Replace(one, mutation.Get(other));
      break;
   case 1:
      mutation.Replace(one, mutation.Get(one) + "," + mutation.Get(other));
      break;
   default: {
      // The comma in front of it, too.
      std::size_t const begin = one.begin - (mutation.GetText()[one.begin - 1] == ',' ? 1 : 0);
      mutation.Replace({begin, one.end}, "");
   }
   }
}

void Change(Mutation& mutation)
{
   Json const json = Scan(mutation.GetText());
   if (!json.elements.empty() && mutation.Below(3) == 0) {
      ChangeElement(mutation, json.elements);
   } else if (!json.strings.empty()) {
      mutation.ReplaceValue(mutation.Choose(json.strings));
   }
}

} // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned int seed)
{
   return fuzz::MutateText(data, size, maxSize, seed, Change);
}
