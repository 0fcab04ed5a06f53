// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/commandLine.hh"

#include "vnet/cli/journal.hh"
#include "vnet/values/parse.hh"
#include "vnet/values/settings.hh"
#include "vnet/values/text.hh"

#include <algorithm>

namespace vnet::cli {

namespace {

enum class Takes { Nothing, Networks, Folder, File };

struct Entry {
   char const* name;
   Verb verb;
   Takes takes;
};

constexpr Entry entries[] = {
   {"init", Verb::Init, Takes::Nothing},      {"list", Verb::List, Takes::Nothing},
   {"status", Verb::Status, Takes::Networks}, {"start", Verb::Start, Takes::Networks},
   {"stop", Verb::Stop, Takes::Networks},     {"restart", Verb::Restart, Takes::Networks},
   {"check", Verb::Check, Takes::Nothing},    {"export", Verb::Export, Takes::Nothing},
   {"apply", Verb::Apply, Takes::File},       {"leases", Verb::Leases, Takes::Networks},
   {"log", Verb::Log, Takes::Nothing},        {"doctor", Verb::Doctor, Takes::Networks},
   {"watch", Verb::Watch, Takes::Folder},     {"--help", Verb::Help, Takes::Nothing},
   {"-h", Verb::Help, Takes::Nothing},        {"--version", Verb::Version, Takes::Nothing},
};

constexpr std::size_t maxSince = 64; // bytes

Entry const& FindEntry(std::string const& name)
{
   auto const* const found =
      std::ranges::find_if(entries, [&](Entry const& entry) { return name == entry.name; });
   if (found == std::end(entries)) {
      bool const isOption = name.starts_with("-");
      throw UsageError((isOption ? "There is no option " : "There is no command ") + Quote(name));
   }
   return *found;
}

unsigned int RequireNetwork(std::string const& text)
{
   if (auto const index = ParseNetworkName(text)) {
      return *index;
   }
   if (auto const index = ParseNumber(text, 0, maxNetworks - 1)) {
      return *index;
   }
   throw UsageError("There is no network " + Quote(text) + "; they are tvnet0 to tvnet255");
}

void AddNetwork(CommandLine& line, std::string const& text)
{
   auto const index = RequireNetwork(text);
   if (std::ranges::find(line.networks, index) == line.networks.end()) {
      line.networks.push_back(index);
   }
}

void SetFolder(CommandLine& line, std::string const& text)
{
   if (!line.runFolder.empty() || !text.starts_with("/")) {
      throw UsageError("watch takes one folder, by its absolute path");
   }
   line.runFolder = text;
}

void SetFile(CommandLine& line, std::string const& text)
{
   if (!line.file.empty() || text.empty()) {
      throw UsageError("apply takes one file");
   }
   line.file = text;
}

void SetLines(CommandLine& line, std::string const& text)
{
   line.lines = ParseNumber(text, 1, maxJournalLines);
   if (!line.lines) {
      throw UsageError("There can't be " + Quote(text) + " lines, only 1 to " +
                       std::to_string(maxJournalLines));
   }
}

void SetSince(CommandLine& line, std::string const& text)
{
   if (text.empty() || !IsPlainText(text, maxSince)) {
      throw UsageError("There is no time " + Quote(text));
   }
   line.since = text;
}

struct Option {
   char const* name;
   Verb of; // Help: of all commands
   // What it does, with its value if it has one.
   void (*set)(CommandLine& line, std::string const& value);
   bool hasValue = false;
};

constexpr Option options[] = {
   {"--json", Verb::Help, [](CommandLine& line, std::string const&) { line.json = true; }},
   {"--dry-run", Verb::Apply, [](CommandLine& line, std::string const&) { line.dryRun = true; }},
   {"--lines", Verb::Log, SetLines, true},
   {"-n", Verb::Log, SetLines, true},
   {"--since", Verb::Log, SetSince, true},
};

// The arguments that are left, one after the other.
class Rest {
public:
   explicit Rest(std::vector<std::string> const& all) : arguments(all) {}

   bool IsEmpty() const { return at == arguments.size(); }
   std::string const& Take() { return arguments[at++]; }

private:
   std::vector<std::string> const& arguments;
   std::size_t at = 1; // behind the command
};

void SetOption(CommandLine& line, std::string const& argument, Rest& rest)
{
   auto const equals = argument.starts_with("--") ? argument.find('=') : std::string::npos;
   auto const name = argument.substr(0, equals);
   auto const* const found = std::ranges::find_if(options, [&](Option const& option) {
      return name == option.name && (option.of == Verb::Help || option.of == line.verb);
   });
   if (found == std::end(options) || (equals != std::string::npos && !found->hasValue)) {
      throw UsageError("There is no option " + Quote(argument) + " here");
   }
   if (found->hasValue && equals == std::string::npos && rest.IsEmpty()) {
      throw UsageError(name + " needs a value");
   }
   found->set(line, !found->hasValue              ? ""
                    : equals == std::string::npos ? rest.Take()
                                                  : argument.substr(equals + 1));
}

void AddArgument(CommandLine& line, Entry const& entry, std::string const& argument)
{
   switch (entry.takes) {
   case Takes::Nothing:
      throw UsageError(std::string(entry.name) + " takes nothing more: " + Quote(argument));
   case Takes::Networks:
      return AddNetwork(line, argument);
   case Takes::Folder:
      return SetFolder(line, argument);
   case Takes::File:
      return SetFile(line, argument);
   }
}

bool AsksForHelp(std::string const& argument)
{
   return argument == "--help" || argument == "-h";
}

} // namespace

CommandLine ParseCommandLine(std::vector<std::string> const& arguments)
{
   if (arguments.empty()) {
      throw UsageError("A command is missing");
   }
   auto const& entry = FindEntry(arguments.front());
   CommandLine line;
   if (std::ranges::any_of(arguments, AsksForHelp)) {
      return line;
   }
   line.verb = entry.verb;
   for (Rest rest(arguments); !rest.IsEmpty();) {
      auto const& argument = rest.Take();
      if (argument.starts_with("-") && argument != "-") {
         SetOption(line, argument, rest);
      } else {
         AddArgument(line, entry, argument);
      }
   }
   if (entry.takes == Takes::File && line.file.empty()) {
      throw UsageError(std::string(entry.name) + " needs a file, or - for the standard input");
   }
   return line;
}

} // namespace vnet::cli
