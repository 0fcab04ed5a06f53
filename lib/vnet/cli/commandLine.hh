// SPDX-License-Identifier: GPL-2.0-or-later
// What tavrin-vnets is asked to do.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vnet::cli {

enum class Verb {
   Help,
   Version,
   Init,
   List,
   Status,
   Start,
   Stop,
   Restart,
   Check,
   Export,
   Apply,
   Leases,
   Log,
   Doctor,
   Watch
};

struct CommandLine {
   Verb verb = Verb::Help;
   std::vector<unsigned int> networks; // each once, in the order named; none stands for all
   std::string runFolder;              // of Watch
   std::string file;                   // of Apply; "-" is the standard input
   bool json = false;                  // what is told is a JSON text
   bool dryRun = false;                // of Apply
   std::optional<unsigned int> lines;  // of Log
   std::string since;                  // of Log
};

// The text names what is wrong with the arguments.
class UsageError : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

// Arguments without the program's name. A network is "tvnet8" or "8". An option may stand anywhere
// behind the command. Throws UsageError.
CommandLine ParseCommandLine(std::vector<std::string> const& arguments);

} // namespace vnet::cli
