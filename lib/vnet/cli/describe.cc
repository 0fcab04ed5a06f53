// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/describe.hh"

#include "vnet/cli/networkFacts.hh"
#include "vnet/cli/table.hh"

#include <algorithm>

namespace vnet::cli {

namespace {

std::string Join(std::vector<std::string> const& texts)
{
   std::string joined;
   for (auto const& text : texts) {
      joined += (joined.empty() ? "" : ", ") + MakePrintable(text);
   }
   return joined.empty() ? "-" : joined;
}

std::string DescribeSubnet(NetworkSettings const& network)
{
   auto const subnet = network.GetSubnet();
   return subnet ? subnet->ToString() : "-";
}

std::string DescribeState(engine::Report const& report, Paint const& paint)
{
   switch (report.state) {
   case engine::State::Absent:
      return "stopped";
   case engine::State::Running:
      return report.differences.empty() ? paint.Good("running")
                                        : paint.Bad("running, but not as the database wants");
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
           network.displayName.empty() ? "-" : network.displayName};
}

std::string MakeLine(std::string const& label, std::string const& value)
{
   return "  " + label + std::string(12 - label.size(), ' ') + value + "\n";
}

std::string DescribeServices(NetworkSettings const& network, engine::Report const& report,
                             Paint const& paint)
{
   std::string text;
   for (auto const& service : ListServices(network, report)) {
      text +=
         MakeLine(service.name, service.runs && service.asWanted
                                   ? paint.Good("running")
                                   : paint.Bad(service.runs ? "its rules differ" : "not running"));
   }
   return text;
}

std::string DescribeForwards(NetworkSettings const& network)
{
   std::string text;
   for (auto const& forward : network.nat.forwards) {
      text += MakeLine(
         "forward", std::string(forward.tcp ? "TCP " : "UDP ") + std::to_string(forward.hostPort) +
                       " to " + forward.address.ToString() + ":" + std::to_string(forward.vmPort) +
                       (forward.description.empty() ? "" : ", ") + forward.description);
   }
   return text;
}

std::string DescribeCurrent(std::vector<Lease> const& leases)
{
   std::string text;
   for (auto const& lease : leases) {
      text += lease.left.value_or(0) < 0 ? "" : MakeLine("lease", DescribeLease(lease));
   }
   return text;
}

std::string DescribeAll(std::string const& label, std::vector<std::string> const& texts)
{
   std::string lines;
   for (auto const& text : texts) {
      lines += MakeLine(label, text);
   }
   return lines;
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

std::string DescribeList(Settings const& settings, Paint const& paint)
{
   std::vector<Row> rows{{"NETWORK", "TYPE", "SUBNET", "HOST", "DHCP", "NAME"}};
   for (unsigned int const index : GetNetworks(settings)) {
      rows.push_back(MakeRow(settings, index));
   }
   return Align(rows, paint);
}

std::string DescribeStatus(Settings const& settings, unsigned int index,
                           engine::Report const& report, std::vector<std::string> const& addresses,
                           std::vector<Lease> const& leases, Paint const& paint)
{
   auto const network = GetNetwork(settings, index);
   auto text = DescribeHead(settings, index, DescribeState(report, paint));
   text += MakeLine("addresses", Join(addresses));
   text += DescribeServices(network, report, paint);
   text += DescribeForwards(network);
   text += DescribeBridging(settings, index, report);
   text += MakeLine("plugged in", Join(report.plugged));
   text += DescribeCurrent(leases);
   text += DescribeAll("differs", report.differences);
   text += DescribeAll("note", report.remarks);
   for (auto const& obstacle : report.obstacles) {
      text += MakeLine("note", obstacle.ToString());
   }
   return text;
}

std::string DescribeGlance(Settings const& settings, unsigned int index, Glance const* glance,
                           std::vector<Lease> const& leases)
{
   if (!glance) {
      return DescribeHead(settings, index, "not on this host");
   }
   if (glance->foreign) {
      engine::Report report;
      report.state = engine::State::Foreign;
      return DescribeHead(settings, index, DescribeState(report, Paint()));
   }
   return DescribeHead(settings, index, "on this host") +
          MakeLine("addresses", Join(glance->addresses)) +
          DescribeForwards(GetNetwork(settings, index)) +
          MakeLine("plugged in", Join(glance->plugged)) + DescribeCurrent(leases);
}

} // namespace vnet::cli
