// SPDX-License-Identifier: GPL-2.0-or-later
// What was measured beside what is asked of it.
#pragma once

#include <string>

namespace bench {

enum class Bar { AtMost, AtLeast };

// A row of the table of all bars.
struct Verdict {
   std::string what;
   std::string ours;      // with its unit
   std::string reference; // measured in the same run, with its unit; empty: none
   double figure = 0;     // what the bar is for: mostly the ratio of the two
   Bar kind = Bar::AtMost;
   double bar = 0;
};

// A number with its unit.
std::string Format(double number, int digits, std::string const& unit);

// Prints the row, with who we are, root or an ordinary user. If the environment names a file in
// BENCH_TABLE, the row is also added to that, its fields with tabs between.
void Tell(Verdict const& verdict);

} // namespace bench
