// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/engine/patchState.hh"

#include "vnet/engine/host.hh"
#include "vnet/host/forwardingTable.hh"
#include "vnet/host/patchPairs.hh"
#include "vnet/host/patchRules.hh"
#include "vnet/host/trafficControl.hh"

#include <algorithm>
#include <sstream>

namespace vnet::engine {

namespace {

void DescribeLink(std::ostream& text, host::Link const& link)
{
   text << link.name << " " << link.index << " " << link.mac.ToString() << " " << link.mtu << " "
        << link.master << " " << link.IsUp() << link.IsSetPromiscuous() << " " << link.alias
        << "\n";
}

void DescribeFilters(std::ostream& text, Host& host, host::Link const& link)
{
   for (auto const& filter : host::TrafficControl(host.socket).List(link)) {
      text << "filter " << filter.priority << " " << filter.target << "\n";
   }
}

void DescribePinned(std::ostream& text, Host& host, host::Link const& bridge)
{
   std::vector<std::string> pinned;
   for (auto const& entry : host::ForwardingTable(host.socket).List(bridge)) {
      if (entry.kind == host::ForwardingEntry::Kind::Pinned) {
         pinned.push_back(std::to_string(entry.port) + " " + entry.mac.ToString());
      }
   }
   std::ranges::sort(pinned);
   for (auto const& each : pinned) {
      text << "pinned " << each << "\n";
   }
}

// What a set learned stands on lines of its own, from "elements = {" to "}".
std::string WithoutElements(std::string rules)
{
   for (auto at = rules.find("elements = {"); at != std::string::npos;
        at = rules.find("elements = {", at)) {
      auto const begin = rules.rfind('\n', at) + 1;
      auto const end = rules.find('\n', rules.find('}', at));
      rules.erase(begin, end == std::string::npos ? end : end - begin + 1);
      at = begin;
   }
   return rules;
}

} // namespace

std::string DescribePatch(Host& host, std::string const& adapter, std::string const& bridge)
{
   std::ostringstream text;
   for (auto const& [index, device] : host.view.GetDevices()) {
      auto const part = host::ParsePatchPart(device.link);
      bool const isEnd = part && part->adapter == adapter;
      if (isEnd || device.link.name == adapter || device.link.name == bridge) {
         DescribeLink(text, device.link);
      }
      if (isEnd) {
         DescribeFilters(text, host, device.link);
      }
      if (device.link.name == bridge) {
         DescribePinned(text, host, device.link);
      }
   }
   text << WithoutElements(host.ruleset.List("netdev", host::GetPatchTable(adapter)));
   return text.str();
}

} // namespace vnet::engine
