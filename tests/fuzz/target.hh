// SPDX-License-Identifier: GPL-2.0-or-later
// What a fuzzer defines: called by libFuzzer, or by replay.cc with the files of the corpus.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" {

// Ends the process if what is fuzzed does wrong with these bytes. Returns 0.
int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Optional: called once, before any input. Returns 0.
[[gnu::weak]] int LLVMFuzzerInitialize(int* argc, char*** argv);

// Optional: replaces the bytes by others that have more meaning than libFuzzer's own. Returns their
// number.
[[gnu::weak]] std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                                  std::size_t maxSize, unsigned int seed);
}

namespace fuzz {

inline std::string_view ToText(std::uint8_t const* data, std::size_t size)
{
   return {reinterpret_cast<char const*>(data), size};
}

} // namespace fuzz
