// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/cli/objects.hh"

#include "vnet/cli/networkFacts.hh"

namespace vnet::cli {

namespace {

using json::Value;

Value OrNull(std::string const& text)
{
   return text.empty() ? Value() : Value(text);
}

char const* GetWord(engine::State state)
{
   switch (state) {
   case engine::State::Absent:
      return "stopped";
   case engine::State::Running:
      return "running";
   case engine::State::Stopped:
      return "bridge-only";
   case engine::State::Foreign:
      return "foreign-device";
   }
   return "unknown";
}

Value MakeHead(Settings const& settings, unsigned int index)
{
   auto const network = GetNetwork(settings, index);
   auto const subnet = network.GetSubnet();
   auto object = Value::MakeObject();
   object.Add("network", GetNetworkName(index));
   object.Add("type", DescribeType(settings, index));
   object.Add("name", OrNull(network.displayName));
   return std::move(object.Add("subnet", subnet ? Value(subnet->ToString()) : Value()));
}

Value MakeServices(NetworkSettings const& network, engine::Report const& report)
{
   auto list = Value::MakeList();
   for (auto const& service : ListServices(network, report)) {
      auto object = Value::MakeObject();
      object.Add("service", service.name);
      object.Add("running", service.runs);
      list.Add(std::move(object.Add("as-wanted", service.runs && service.asWanted)));
   }
   return list;
}

Value MakeForwards(NetworkSettings const& network)
{
   auto list = Value::MakeList();
   for (auto const& forward : network.nat.forwards) {
      auto object = Value::MakeObject();
      object.Add("protocol", forward.tcp ? "tcp" : "udp");
      object.Add("host-port", forward.hostPort);
      object.Add("address", forward.address.ToString());
      object.Add("port", forward.vmPort);
      list.Add(std::move(object.Add("description", OrNull(forward.description))));
   }
   return list;
}

Value MakeNotes(engine::Report const& report)
{
   auto notes = Value::MakeList(report.remarks);
   for (auto const& obstacle : report.obstacles) {
      notes.Add(obstacle.ToString());
   }
   return notes;
}

} // namespace

Value MakeListObject(Settings const& settings)
{
   auto list = Value::MakeList();
   for (unsigned int const index : GetNetworks(settings)) {
      auto const network = GetNetwork(settings, index);
      auto object = MakeHead(settings, index);
      object.Add("adapter", network.useAdapter);
      object.Add("dhcp", network.useDhcp);
      list.Add(std::move(object.Add("adapters", Value::MakeList(GetAdapters(settings, index)))));
   }
   return std::move(Value::MakeObject().Add("networks", std::move(list)));
}

Value MakeStatusObject(Settings const& settings, unsigned int index, engine::Report const& report,
                       std::vector<std::string> const& addresses, std::vector<Lease> const& leases)
{
   auto const network = GetNetwork(settings, index);
   auto object = MakeHead(settings, index);
   object.Add("state", GetWord(report.state));
   object.Add("addresses", Value::MakeList(addresses));
   object.Add("services", MakeServices(network, report));
   object.Add("forwards", MakeForwards(network));
   object.Add("adapters", Value::MakeList(GetAdapters(settings, index)));
   object.Add("bridged-to", Value::MakeList(report.adapters));
   object.Add("plugged-in", Value::MakeList(report.plugged));
   object.Add("leases", MakeLeases(leases));
   object.Add("differences", Value::MakeList(report.differences));
   return std::move(object.Add("notes", MakeNotes(report)));
}

Value MakeGlanceObject(Settings const& settings, unsigned int index, Glance const* glance,
                       std::vector<Lease> const& leases)
{
   auto object = MakeHead(settings, index);
   object.Add("state", !glance ? "stopped" : glance->foreign ? "foreign-device" : "on-this-host");
   if (glance && !glance->foreign) {
      object.Add("addresses", Value::MakeList(glance->addresses));
      object.Add("plugged-in", Value::MakeList(glance->plugged));
   }
   object.Add("forwards", MakeForwards(GetNetwork(settings, index)));
   return std::move(object.Add("leases", MakeLeases(leases)));
}

} // namespace vnet::cli
