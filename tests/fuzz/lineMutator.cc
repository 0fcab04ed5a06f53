// SPDX-License-Identifier: GPL-2.0-or-later
// Mutates texts of lines that end in a value, as key files do: values become others, and lines come
// twice, go, and change places.
#include "fuzz/mutation.hh"

#include <vector>

using fuzz::Mutation;
using fuzz::Span;

namespace {

// Without their newlines.
std::vector<Span> FindLines(std::string const& text)
{
   std::vector<Span> lines;
   for (std::size_t begin = 0; begin <= text.size();) {
      std::size_t const end = std::min(text.find('\n', begin), text.size());
      lines.push_back({begin, end});
      begin = end + 1;
   }
   return lines;
}

// What stands behind a separator of the line, or the line.
Span FindValue(Mutation& mutation, Span line)
{
   std::vector<std::size_t> begins = {line.begin};
   for (std::size_t at = line.begin; at < line.end; ++at) {
      if (std::string_view("= []").find(mutation.GetText()[at]) != std::string_view::npos) {
         begins.push_back(at + 1);
      }
   }
   std::size_t const begin = mutation.Below(2) ? begins.back() : mutation.Choose(begins);
   std::size_t const end = mutation.GetText().find_first_of("= \n]", begin);
   return {begin, mutation.Below(2) ? std::min(end, line.end) : line.end};
}

void Change(Mutation& mutation)
{
   auto const lines = FindLines(mutation.GetText());
   Span const one = mutation.Choose(lines);
   Span const other = mutation.Choose(lines);
   switch (mutation.Below(6)) {
   case 0:
      mutation.Replace({one.end, one.end}, "\n" + mutation.Get(other));
      break;
   case 1:
      mutation.Replace({one.begin, std::min(one.end + 1, mutation.GetText().size())}, "");
      break;
   default:
      mutation.ReplaceValue(FindValue(mutation, one));
   }
}

} // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned int seed)
{
   return fuzz::MutateText(data, size, maxSize, seed, Change);
}
