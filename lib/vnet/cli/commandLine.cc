// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/commandLine.hh"

#include "vnet/values/parse.hh"
#include "vnet/values/settings.hh"
#include "vnet/values/text.hh"

#include <algorithm>
#include <optional>

namespace vnet::cli {

namespace {

enum class Takes { Nothing, Networks, Folder };

struct Entry {
   char const* name;
   Verb verb;
   Takes takes;
};

constexpr Entry entries[] = {
   {"init", Verb::Init, Takes::Nothing},      {"list", Verb::List, Takes::Nothing},
   {"status", Verb::Status, Takes::Networks}, {"start", Verb::Start, Takes::Networks},
   {"stop", Verb::Stop, Takes::Networks},     {"restart", Verb::Restart, Takes::Networks},
   {"watch", Verb::Watch, Takes::Folder},     {"--help", Verb::Help, Takes::Nothing},
   {"-h", Verb::Help, Takes::Nothing},        {"--version", Verb::Version, Takes::Nothing},
};

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

} // namespace

CommandLine ParseCommandLine(std::vector<std::string> const& arguments)
{
   if (arguments.empty()) {
      throw UsageError("A command is missing");
   }
   auto const& entry = FindEntry(arguments.front());
   CommandLine line;
   line.verb = entry.verb;
   for (std::size_t at = 1; at < arguments.size(); ++at) {
      switch (entry.takes) {
      case Takes::Nothing:
         throw UsageError(std::string(entry.name) + " takes nothing more: " + Quote(arguments[at]));
      case Takes::Networks:
         AddNetwork(line, arguments[at]);
         break;
      case Takes::Folder:
         SetFolder(line, arguments[at]);
         break;
      }
   }
   return line;
}

std::string GetHelp()
{
   return R"(Usage: tavrin-vnets COMMAND [NETWORK...]

The virtual networks of this host, as the database /etc/tavrin/networking tells.

  init                  make the database: tvnet0 bridged automatically, tvnet1
                        host-only, tvnet8 with NAT, on subnets that are free
  list                  list the networks of the database
  status [NETWORK...]   tell how networks stand on this host
  start [NETWORK...]    bring this host in line with the database
  stop [NETWORK...]     stop networks on this host; the database stays as it is
  restart [NETWORK...]  stop and start

  --help, -h            show this
  --version             show the version

A network is tvnet0 to tvnet255, or its number; without any, all are meant.
Ends with 0, with 1 after a failure, which is told on standard error, and with 2
if it wasn't called as above.
)";
}

} // namespace vnet::cli
