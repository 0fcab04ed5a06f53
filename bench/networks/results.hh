// SPDX-License-Identifier: GPL-2.0-or-later
// What was measured, and the table of it.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Runs `work` and returns how many milliseconds it took.
template <class Work>
double Measure(Work const& work)
{
   auto const begin = std::chrono::steady_clock::now();
   work();
   return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

// 0 if there are none.
double GetMedian(std::vector<double> samples);

// By what was done and with how many networks.
class Results {
public:
   // Tells of it on standard error, as all of them take minutes.
   void Add(std::string const& what, unsigned int networks, double milliseconds);
   // 0 if it wasn't measured.
   double GetMedian(std::string const& what, unsigned int networks) const;
   std::vector<unsigned int> GetCounts() const;

private:
   std::map<std::pair<std::string, unsigned int>, std::vector<double>> samples;
};

// A line of the table.
struct Line {
   std::string what;
   std::string floor;  // what it is compared with; empty: nothing
   bool ofAll = false; // done once for each network, so that there is a cost of each
};

// How many times as much a network costs among the most as among 20; 1 is linear, 0 unknown.
double GetGrowth(Line const& line, Results const& results);

// Prints medians, the cost of each network, how that grows from 20 networks to the most, and the
// ratios to the floors.
void PrintTable(std::vector<Line> const& lines, Results const& results);

} // namespace bench
