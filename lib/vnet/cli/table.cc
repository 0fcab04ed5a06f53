// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/table.hh"

#include <algorithm>

namespace vnet::cli {

namespace {

std::vector<std::size_t> Measure(std::vector<Row> const& rows)
{
   std::vector<std::size_t> widths(rows.front().size());
   for (auto const& row : rows) {
      for (std::size_t column = 0; column < widths.size(); ++column) {
         widths[column] = std::max(widths[column], row[column].size());
      }
   }
   return widths;
}

std::string MakeLine(Row const& row, std::vector<std::size_t> const& widths)
{
   std::string line;
   for (std::size_t column = 0; column < widths.size(); ++column) {
      // The last column is free text, whose width in bytes says nothing.
      auto const gap = column + 1 == widths.size() ? 0 : widths[column] + 2 - row[column].size();
      line += row[column] + std::string(gap, ' ');
   }
   return line.substr(0, line.find_last_not_of(' ') + 1);
}

} // namespace

std::string Align(std::vector<Row> const& rows, Paint const& paint)
{
   auto const widths = Measure(rows);
   std::string text;
   for (auto const& row : rows) {
      auto const line = MakeLine(row, widths);
      text += (text.empty() ? paint.Strong(line) : line) + "\n";
   }
   return text;
}

} // namespace vnet::cli
