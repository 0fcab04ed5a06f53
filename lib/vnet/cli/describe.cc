// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/describe.hh"

#include <algorithm>
#include <array>
#include <utility>

namespace vnet::cli {

namespace {

constexpr std::size_t columns = 6;
using Row = std::array<std::string, columns>;

NetworkSettings GetNetwork(Settings const& settings, unsigned int index)
{
   auto const found = settings.networks.find(index);
   return found == settings.networks.end() ? NetworkSettings() : found->second;
}

std::vector<std::string> GetAdapters(Settings const& settings, unsigned int index)
{
   std::vector<std::string> names;
   for (auto const& [name, network] : settings.adapters) {
      if (network == index) {
         names.push_back(name);
      }
   }
   return names;
}

std::string Join(std::vector<std::string> const& texts)
{
   std::string joined;
   for (auto const& text : texts) {
      joined += (joined.empty() ? "" : ", ") + text;
   }
   return joined.empty() ? "-" : joined;
}

std::string DescribeType(Settings const& settings, unsigned int index)
{
   auto const network = GetNetwork(settings, index);
   if (network.IsHosted()) {
      return network.useNat ? "NAT" : "host-only";
   }
   if (settings.automatic == index) {
      return "bridged automatically";
   }
   return GetNetworks(settings).contains(index) ? "bridged" : "not in the database";
}

std::string DescribeSubnet(NetworkSettings const& network)
{
   auto const subnet = network.GetSubnet();
   return subnet ? subnet->ToString() : "-";
}

std::string DescribeState(engine::Report const& report)
{
   switch (report.state) {
   case engine::State::Absent:
      return "stopped";
   case engine::State::Running:
      return report.differences.empty() ? "running" : "running, but not as the database wants";
   case engine::State::Stopped:
      return "stopped; its bridge stays while something is plugged in";
   case engine::State::Foreign:
      return "stopped: someone else's device has the name of its bridge, and is left alone";
   }
   return "unknown";
}

Row MakeRow(Settings const& settings, unsigned int index)
{
   auto const network = GetNetwork(settings, index);
   auto const yesOrNo = [&](bool value) {
      return std::string(!network.IsHosted() ? "-" : value ? "yes" : "no");
   };
   auto const type = DescribeType(settings, index);
   auto const adapters = GetAdapters(settings, index);
   return {GetNetworkName(index),
           adapters.empty() || network.IsHosted() ? type : type + " (" + Join(adapters) + ")",
           DescribeSubnet(network),
           yesOrNo(network.useAdapter),
           yesOrNo(network.useDhcp),
           network.displayName};
}

std::string Align(std::vector<Row> const& rows)
{
   std::array<std::size_t, columns> widths{};
   for (auto const& row : rows) {
      for (std::size_t column = 0; column < columns; ++column) {
         widths[column] = std::max(widths[column], row[column].size());
      }
   }
   std::string text;
   for (auto const& row : rows) {
      std::string line;
      for (std::size_t column = 0; column < columns; ++column) {
         // The last column is free text, whose width in bytes says nothing.
         auto const gap = column + 1 == columns ? 0 : widths[column] + 2 - row[column].size();
         line += row[column] + std::string(gap, ' ');
      }
      text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
   }
   return text;
}

std::string MakeLine(std::string const& label, std::string const& value)
{
   return "  " + label + std::string(12 - label.size(), ' ') + value + "\n";
}

std::string DescribeServices(NetworkSettings const& network, engine::Report const& report)
{
   bool const runs = report.state == engine::State::Running;
   auto const rules = std::ranges::find(report.differences, "rules") == report.differences.end();
   std::string text;
   if (network.useDhcp) {
      text += MakeLine("DHCP", runs && report.dnsmasqRuns ? "running" : "not running");
   }
   if (network.useNat) {
      text += MakeLine("NAT", !runs ? "not running" : rules ? "running" : "its rules differ");
      text += MakeLine("DNS", runs && report.dnsmasqRuns ? "running" : "not running");
   }
   return text;
}

std::string DescribeBridging(Settings const& settings, unsigned int index,
                             engine::Report const& report)
{
   auto const wanted = GetAdapters(settings, index);
   if (GetNetwork(settings, index).IsHosted() || (wanted.empty() && report.adapters.empty())) {
      return {};
   }
   return MakeLine("adapters", Join(wanted)) + MakeLine("bridged to", Join(report.adapters));
}

std::string DescribeHead(Settings const& settings, unsigned int index, std::string const& state)
{
   auto const network = GetNetwork(settings, index);
   std::string text = GetNetworkName(index) + ": " + DescribeType(settings, index) + ", " + state;
   text += "\n";
   if (!network.displayName.empty()) {
      text += MakeLine("name", network.displayName);
   }
   if (network.IsHosted()) {
      text += MakeLine("subnet", DescribeSubnet(network));
   }
   return text;
}

} // namespace

std::set<unsigned int> GetNetworks(Settings const& settings)
{
   std::set<unsigned int> networks;
   for (auto const& entry : settings.networks) {
      networks.insert(entry.first);
   }
   for (auto const& entry : settings.adapters) {
      networks.insert(entry.second);
   }
   if (settings.automatic) {
      networks.insert(*settings.automatic);
   }
   return networks;
}

std::string DescribeList(Settings const& settings)
{
   std::vector<Row> rows{{"NETWORK", "TYPE", "SUBNET", "HOST", "DHCP", "NAME"}};
   for (unsigned int const index : GetNetworks(settings)) {
      rows.push_back(MakeRow(settings, index));
   }
   return Align(rows);
}

std::string DescribeStatus(Settings const& settings, unsigned int index,
                           engine::Report const& report, std::vector<std::string> const& addresses)
{
   auto text = DescribeHead(settings, index, DescribeState(report));
   text += MakeLine("addresses", Join(addresses));
   text += DescribeServices(GetNetwork(settings, index), report);
   text += DescribeBridging(settings, index, report);
   text += MakeLine("plugged in", Join(report.plugged));
   for (auto const& difference : report.differences) {
      text += MakeLine("differs", difference);
   }
   for (auto const& remark : report.remarks) {
      text += MakeLine("note", remark);
   }
   return text;
}

std::string DescribeGlance(Settings const& settings, unsigned int index, Glance const* glance)
{
   if (!glance) {
      return DescribeHead(settings, index, "not on this host");
   }
   if (glance->foreign) {
      engine::Report report;
      report.state = engine::State::Foreign;
      return DescribeHead(settings, index, DescribeState(report));
   }
   return DescribeHead(settings, index, "on this host") +
          MakeLine("addresses", Join(glance->addresses)) +
          MakeLine("plugged in", Join(glance->plugged));
}

} // namespace vnet::cli
