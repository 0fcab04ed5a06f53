// SPDX-License-Identifier: GPL-2.0-or-later
// What a fuzzer holds to be true of every input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

// Ends the process if the claim doesn't hold; the fuzzer then keeps the input.
inline void Require(bool holds, std::string const& claim)
{
   if (!holds) {
      std::fprintf(stderr, "doesn't hold: %s\n", claim.c_str());
      std::abort();
   }
}

} // namespace fuzz
