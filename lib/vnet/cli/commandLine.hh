// SPDX-License-Identifier: GPL-2.0-or-later
// What tavrin-vnets is asked to do.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vnet::cli {

enum class Verb { Help, Version, Init, List, Status, Start, Stop, Restart, Watch };

struct CommandLine {
   Verb verb = Verb::Help;
   std::vector<unsigned int> networks; // each once, in the order named; none stands for all
   std::string runFolder;              // of Watch
};

// The text names what is wrong with the arguments.
class UsageError : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

// Arguments without the program's name. A network is "tvnet8" or "8". Throws UsageError.
CommandLine ParseCommandLine(std::vector<std::string> const& arguments);

// What --help prints.
std::string GetHelp();

} // namespace vnet::cli
