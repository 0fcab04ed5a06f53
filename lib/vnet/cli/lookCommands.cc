// SPDX-License-Identifier: GPL-2.0-or-later
// What tavrin-vnets tells of the host.
#include "vnet/cli/journal.hh"
#include "vnet/cli/leases.hh"
#include "vnet/cli/networkFacts.hh"
#include "vnet/cli/program.hh"
#include "vnet/cli/status.hh"
#include "vnet/process/units.hh"
#include "vnet/watch/hostUnits.hh"

#include <ctime>
#include <set>

namespace vnet::cli {

namespace {

json::Value MakeLeasesObject(cli::Leases const& leases)
{
   auto list = json::Value::MakeList();
   for (auto const& [index, all] : leases) {
      auto object = json::Value::MakeObject();
      object.Add("network", GetNetworkName(index));
      list.Add(std::move(object.Add("leases", MakeLeases(all))));
   }
   return std::move(json::Value::MakeObject().Add("networks", std::move(list)));
}

// By which a service manager runs the networks.
std::vector<std::string> ListUnits(Settings const& settings)
{
   std::vector<std::string> units{"tavrin-vnets.service", watch::watcherUnit};
   for (unsigned int const index : GetNetworks(settings)) {
      units.push_back(process::GetDnsmasqUnit(GetNetworkName(index)));
   }
   return units;
}

} // namespace

int Program::Status(std::vector<unsigned int> const& networks)
{
   return TellStatus(output, place, ReadSettings(), networks) ? status::fine : status::failure;
}

int Program::Leases(std::vector<unsigned int> const& networks)
{
   std::set<unsigned int> named(networks.begin(), networks.end());
   cli::Leases leases;
   bool all = true;
   for (unsigned int const index : named.empty() ? GetNetworks(ReadSettings()) : named) {
      all &=
         Attempt([&] { leases[index] = ReadLeases(place.stateFolder, index, std::time(nullptr)); });
   }
   if (output.json) {
      output.TellJson(MakeLeasesObject(leases));
   } else {
      output.Tell(DescribeLeases(leases, output.paint));
   }
   return all ? status::fine : status::failure;
}

int Program::Log(CommandLine const& line)
{
   JournalQuery query;
   query.since = line.since;
   // Without a database there are still our own lines.
   Attempt([&] { query.units = ListUnits(ReadSettings()); });
   // A time alone asks for all from then on.
   query.lines = line.lines.value_or(line.since.empty() ? query.lines : maxJournalLines);
   auto const reading = ReadJournal(query);
   if (output.json) {
      output.TellJson(json::Value::MakeObject().Add("lines", MakeJournal(reading.lines)));
   } else {
      output.Tell(DescribeJournal(reading.lines));
   }
   if (!reading.complaint.empty()) {
      output.Complain("journalctl: " + MakePrintable(reading.complaint));
   }
   return status::fine;
}

} // namespace vnet::cli
