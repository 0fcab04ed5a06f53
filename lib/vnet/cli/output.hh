// SPDX-License-Identifier: GPL-2.0-or-later
// Where a command tells its results and failures, and how.
#pragma once

#include "vnet/cli/terminal.hh"
#include "vnet/json/value.hh"

#include <ostream>
#include <string>
#include <vector>

namespace vnet::cli {

class Output {
public:
   // `results` is for what was asked for, `errors` for what went wrong.
   Output(std::ostream& resultStream, std::ostream& errorStream, Paint const& resultPaint)
      : paint(resultPaint), results(resultStream), errors(errorStream)
   {}

   // What was asked for: as text, or as one JSON value.
   void Tell(std::string const& text) { results << text; }
   void TellJson(json::Value const& value);
   // A line for errors, with the program's name before it.
   void Complain(std::string const& text);
   // Of what has nothing to tell but how it went: that, and the complaints, where JSON is asked
   // for.
   void TellEnd(bool done);
   // The complaints so far.
   std::vector<std::string> const& GetComplaints() const { return complaints; }

   bool json = false; // that is asked for
   Paint paint;       // of results

private:
   std::ostream& results;
   std::ostream& errors;
   std::vector<std::string> complaints;
};

} // namespace vnet::cli
