// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/process/managerDouble.hh"

namespace vnet::process {

namespace {

constexpr char managerPath[] = "/org/freedesktop/systemd1";
constexpr char unitPath[] = "/org/freedesktop/systemd1/unit/double";
constexpr char managerInterface[] = "org.freedesktop.systemd1.Manager";

// As org.freedesktop.systemd1(5) has them.
constexpr char interfaces[] = R"(<node>
<interface name='org.freedesktop.systemd1.Manager'>
 <method name='StartUnit'><arg direction='in' type='s'/><arg direction='in' type='s'/>
  <arg direction='out' type='o'/></method>
 <method name='StopUnit'><arg direction='in' type='s'/><arg direction='in' type='s'/>
  <arg direction='out' type='o'/></method>
 <method name='LoadUnit'><arg direction='in' type='s'/><arg direction='out' type='o'/></method>
 <method name='ResetFailedUnit'><arg direction='in' type='s'/></method>
 <method name='Subscribe'/>
</interface>
<interface name='org.freedesktop.systemd1.Unit'>
 <property name='ActiveState' type='s' access='read'/></interface>
<interface name='org.freedesktop.systemd1.Service'>
 <property name='Result' type='s' access='read'/></interface>
</node>)";

GDBusInterfaceInfo* GetInterface(char const* name)
{
   static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(interfaces, nullptr);
   return g_dbus_node_info_lookup_interface(node, name);
}

GVariant* GetProperty(GDBusConnection*, char const*, char const*, char const*, char const* property,
                      GError**, void*)
{
   return g_variant_new_string(std::string(property) == "Result" ? "exit-code" : "inactive");
}

} // namespace

ManagerDouble::ManagerDouble(char const* name)
{
   Serve(managerPath, GetInterface(managerInterface));
   for (auto const* each : {"org.freedesktop.systemd1.Unit", "org.freedesktop.systemd1.Service"}) {
      Serve(unitPath, GetInterface(each), GetProperty);
   }
   Start(name);
}

ManagerDouble::~ManagerDouble()
{
   Stop();
}

void ManagerDouble::Answer(std::string const& name, GVariant* parameters,
                           GDBusMethodInvocation* invocation)
{
   auto const texts = GetTexts(parameters);
   auto const unit = texts.empty() ? "" : texts[0];
   std::unique_lock lock(GetMutex());
   auto const result = results.contains(unit) ? results[unit] : "done";
   lock.unlock();
   if (result == "unknown" && name != "LoadUnit") {
      g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.systemd1.NoSuchUnit",
                                                 "Unit isn't loaded.");
   } else if (result == "refused" && name.ends_with("tUnit")) {
      g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.systemd1.UnitMasked",
                                                 "Unit is masked.");
   } else if (name == "LoadUnit") {
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", unitPath));
   } else if (name == "StartUnit" || name == "StopUnit") {
      AnswerJob(unit, result, invocation);
   } else {
      g_dbus_method_invocation_return_value(invocation, nullptr);
   }
}

// Each second job ends before its caller knows what it is called.
void ManagerDouble::AnswerJob(std::string const& unit, std::string const& result,
                              GDBusMethodInvocation* invocation)
{
   auto const job = std::string(managerPath) + "/job/" + std::to_string(++jobs);
   auto const answer = [&] {
      g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", job.c_str()));
   };
   auto const tell = [&](std::string const& ended, std::string const& how) {
      g_dbus_connection_emit_signal(
         GetConnection(), nullptr, managerPath, managerInterface, "JobRemoved",
         g_variant_new("(uoss)", jobs, ended.c_str(), unit.c_str(), how.c_str()), nullptr);
   };
   if (jobs % 2 != 0) {
      answer();
   }
   tell(std::string(managerPath) + "/job/0", "failed"); // somebody else's
   if (result != "never") {
      tell(job, result);
   }
   if (jobs % 2 == 0) {
      answer();
   }
}

void ManagerDouble::SetResult(std::string const& unit, std::string const& result)
{
   std::lock_guard const lock(GetMutex());
   results[unit] = result;
}

} // namespace vnet::process
