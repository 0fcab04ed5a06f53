// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/process/firewalldDouble.hh"

#include <algorithm>

namespace vnet::process {

namespace {

// As firewalld.dbus(5) has it.
constexpr char interfaces[] = R"(<node>
<interface name='org.fedoraproject.FirewallD1.zone'>
 <method name='getActiveZones'><arg direction='out' type='a{sa{sas}}'/></method>
 <method name='getZones'><arg direction='out' type='as'/></method>
 <method name='addInterface'><arg direction='in' type='s'/><arg direction='in' type='s'/>
  <arg direction='out' type='s'/></method>
 <method name='removeInterface'><arg direction='in' type='s'/><arg direction='in' type='s'/>
  <arg direction='out' type='s'/></method>
</interface>
</node>)";

GVariant* MakeList(std::vector<std::string> const& texts)
{
   GVariantBuilder list;
   g_variant_builder_init(&list, G_VARIANT_TYPE("as"));
   for (auto const& text : texts) {
      g_variant_builder_add(&list, "s", text.c_str());
   }
   return g_variant_builder_end(&list);
}

} // namespace

FirewalldDouble::FirewalldDouble(char const* name)
{
   static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(interfaces, nullptr);
   Serve("/org/fedoraproject/FirewallD1", node->interfaces[0]);
   Start(name);
}

FirewalldDouble::~FirewalldDouble()
{
   Stop();
}

void FirewalldDouble::Answer(std::string const& method, GVariant* parameters,
                             GDBusMethodInvocation* invocation)
{
   if (method == "getActiveZones") {
      g_dbus_method_invocation_return_value(invocation,
                                            g_variant_new("(@a{sa{sas}})", MakeActiveZones()));
   } else if (method == "getZones") {
      std::vector<std::string> names;
      std::ranges::transform(zones, std::back_inserter(names),
                             [](auto const& zone) { return zone.first; });
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(@as)", MakeList(names)));
   } else {
      Change(method, GetTexts(parameters), invocation);
   }
}

GVariant* FirewalldDouble::MakeActiveZones() const
{
   GVariantBuilder all;
   g_variant_builder_init(&all, G_VARIANT_TYPE("a{sa{sas}}"));
   for (auto const& [name, devices] : zones) {
      GVariantBuilder kinds;
      g_variant_builder_init(&kinds, G_VARIANT_TYPE("a{sas}"));
      g_variant_builder_add(&kinds, "{s@as}", "interfaces", MakeList(devices));
      if (name == "public") {
         g_variant_builder_add(&kinds, "{s@as}", "sources", MakeList({"192.0.2.0/24"}));
      }
      g_variant_builder_add(&all, "{sa{sas}}", name.c_str(), &kinds);
   }
   return g_variant_builder_end(&all);
}

void FirewalldDouble::Change(std::string const& method, std::vector<std::string> const& texts,
                             GDBusMethodInvocation* invocation)
{
   auto const zone = zones.find(texts[0]);
   bool const removed = method == "removeInterface";
   auto const refuse = [invocation](std::string const& text) {
      g_dbus_method_invocation_return_dbus_error(
         invocation, "org.fedoraproject.FirewallD1.Exception", text.c_str());
   };
   if (zone == zones.end()) {
      refuse("INVALID_ZONE: " + texts[0]);
   } else if (removed && std::erase(zone->second, texts[1]) == 0) {
      refuse("UNKNOWN_INTERFACE: '" + texts[1] + "' is not in '" + texts[0] + "'");
   } else {
      if (!removed) {
         zone->second.push_back(texts[1]);
      }
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", texts[0].c_str()));
   }
}

} // namespace vnet::process
