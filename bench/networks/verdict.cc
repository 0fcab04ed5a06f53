// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/verdict.hh"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace bench {

namespace {

// At the start: in a user namespace of our own everybody is root.
bool const isRoot = geteuid() == 0;

bool IsMet(Verdict const& verdict)
{
   return verdict.kind == Bar::AtMost ? verdict.figure <= verdict.bar
                                      : verdict.figure >= verdict.bar;
}

} // namespace

std::string Format(double number, int digits, std::string const& unit)
{
   char text[64];
   std::snprintf(text, sizeof text, "%.*f", digits, number);
   return text + (unit.empty() ? "" : " " + unit);
}

void Tell(Verdict const& verdict)
{
   std::string const who = isRoot ? "root" : "user";
   std::string const reference = verdict.reference.empty() ? "-" : verdict.reference;
   std::string const figure = Format(verdict.figure, 3, "");
   std::string const bar =
      (verdict.kind == Bar::AtMost ? "<= " : ">= ") + Format(verdict.bar, 2, "");
   char const* const outcome = IsMet(verdict) ? "met" : "MISSED";
   std::printf("%s: %s: %s, against %s: %s (bar %s): %s\n", who.c_str(), verdict.what.c_str(),
               verdict.ours.c_str(), reference.c_str(), figure.c_str(), bar.c_str(), outcome);
   if (char const* const path = std::getenv("BENCH_TABLE")) {
      std::ofstream table(path, std::ios::app);
      table << verdict.what << '\t' << who << '\t' << verdict.ours << '\t' << reference << '\t'
            << figure << '\t' << bar << '\t' << outcome << std::endl;
      if (!table) {
         throw std::runtime_error(std::string("add to ") + path + ": can't be written");
      }
   }
}

} // namespace bench
