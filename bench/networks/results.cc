// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/results.hh"

#include <algorithm>
#include <cstdio>
#include <set>

namespace bench {

namespace {

constexpr int whatWidth = 38;
constexpr int numberWidth = 8;

// From here on what is done once for all doesn't count much.
constexpr unsigned int many = 20;

void PrintNumber(double number, int digits)
{
   if (number > 0) {
      std::printf("%*.*f", numberWidth, digits, number);
   } else {
      std::printf("%*s", numberWidth, "-");
   }
}

void PrintHeader(std::vector<unsigned int> const& counts)
{
   int const group = numberWidth * static_cast<int>(counts.size());
   std::printf("%-*s%*s%*s%*s%*s\n", whatWidth, "", group, "ms", group, "ms each", numberWidth + 1,
               "growth", group, "to the floor");
   std::printf("%-*s", whatWidth, "networks");
   for (int column = 0; column < 3; ++column) {
      if (column == 2) {
         std::printf("%*s", numberWidth + 1, "");
      }
      for (unsigned int const count : counts) {
         std::printf("%*u", numberWidth, count);
      }
   }
   std::printf("\n");
}

void PrintLine(Line const& line, Results const& results)
{
   auto const counts = results.GetCounts();
   std::printf("%-*s", whatWidth, line.what.c_str());
   for (unsigned int const count : counts) {
      PrintNumber(results.GetMedian(line.what, count), 1);
   }
   for (unsigned int const count : counts) {
      PrintNumber(line.ofAll ? results.GetMedian(line.what, count) / count : 0, 2);
   }
   std::printf(" ");
   PrintNumber(GetGrowth(line, results), 2);
   for (unsigned int const count : counts) {
      double const floor = results.GetMedian(line.floor, count);
      PrintNumber(floor > 0 ? results.GetMedian(line.what, count) / floor : 0, 2);
   }
   std::printf("\n");
}

} // namespace

double GetMedian(std::vector<double> samples)
{
   if (samples.empty()) {
      return 0;
   }
   std::ranges::sort(samples);
   auto const half = samples.size() / 2;
   return samples.size() % 2 ? samples[half] : (samples[half - 1] + samples[half]) / 2;
}

void Results::Add(std::string const& what, unsigned int networks, double milliseconds)
{
   samples[{what, networks}].push_back(milliseconds);
   std::fprintf(stderr, "%u: %s: %.1f ms\n", networks, what.c_str(), milliseconds);
}

double Results::GetMedian(std::string const& what, unsigned int networks) const
{
   auto const found = samples.find({what, networks});
   return found == samples.end() ? 0 : bench::GetMedian(found->second);
}

std::vector<unsigned int> Results::GetCounts() const
{
   std::set<unsigned int> counts;
   for (auto const& entry : samples) {
      counts.insert(entry.first.second);
   }
   return {counts.begin(), counts.end()};
}

double GetGrowth(Line const& line, Results const& results)
{
   auto const most = results.GetCounts().back();
   double const few = results.GetMedian(line.what, many) / many;
   return line.ofAll && few > 0 && most > many ? results.GetMedian(line.what, most) / most / few
                                               : 0;
}

void PrintTable(std::vector<Line> const& lines, Results const& results)
{
   PrintHeader(results.GetCounts());
   for (auto const& line : lines) {
      PrintLine(line, results);
   }
}

} // namespace bench
