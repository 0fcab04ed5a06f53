// SPDX-License-Identifier: GPL-2.0-or-later
// What mutators of texts share.
#pragma once

#include "fuzz/hostileValues.hh"
#include "fuzz/target.hh"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

// libFuzzer's own mutation.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace fuzz {

// A part of a text.
struct Span {
   std::size_t begin = 0;
   std::size_t end = 0;
};

// A text that is being mutated, with the chance of this mutation.
class Mutation {
public:
   Mutation(std::uint8_t const* data, std::size_t size, unsigned int seed)
      : text(ToText(data, size)), random(seed)
   {}

   std::string const& GetText() const { return text; }
   std::size_t Below(std::size_t bound) { return random() % bound; }
   template <class Choices>
   auto const& Choose(Choices const& choices)
   {
      return choices[Below(std::size(choices))];
   }

   std::string Get(Span span) const { return text.substr(span.begin, span.end - span.begin); }
   void Replace(Span span, std::string_view other)
   {
      text.replace(span.begin, span.end - span.begin, other);
   }
   // Another value, or one that libFuzzer makes of the present one.
   void ReplaceValue(Span span)
   {
      Replace(span, Below(3) ? std::string(Choose(hostileValues)) : Mutate(Get(span)));
   }
   // Puts the text where the bytes are; too long a one is cut.
   std::size_t Store(std::uint8_t* data, std::size_t maxSize) const
   {
      std::size_t const size = std::min(text.size(), maxSize);
      std::memcpy(data, text.data(), size);
      return size;
   }

private:
   static std::string Mutate(std::string part)
   {
      std::size_t const size = part.size();
      part.resize(size + 32);
      part.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(part.data()), size, size + 32));
      return part;
   }

   std::string text;
   std::minstd_rand random;
};

// Hands every third input to libFuzzer and the others to change(mutation).
template <class Change>
std::size_t MutateText(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned int seed,
                       Change change)
{
   if (seed % 3 == 0) {
      return LLVMFuzzerMutate(data, size, maxSize);
   }
   Mutation mutation(data, size, seed);
   change(mutation);
   return mutation.Store(data, maxSize);
}

} // namespace fuzz
