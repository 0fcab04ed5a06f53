// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/process/managerDouble.hh"

#include <stdexcept>

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

int EndLoop(void* loop)
{
   g_main_loop_quit(static_cast<GMainLoop*>(loop));
   return G_SOURCE_REMOVE;
}

void Require(void const* made, GError* error)
{
   if (!made) {
      throw std::runtime_error(error->message);
   }
}

} // namespace

ManagerDouble::ManagerDouble(char const* name)
   : context(g_main_context_new()), loop(g_main_loop_new(context, FALSE)),
     bus(g_test_dbus_new(G_TEST_DBUS_NONE))
{
   g_test_dbus_up(bus);
   address = g_test_dbus_get_bus_address(bus);
   // What is called is answered by the context that is the thread's now.
   g_main_context_push_thread_default(context);
   Connect();
   TakeName(name);
   g_main_context_pop_thread_default(context);
   thread = std::thread([this] { g_main_loop_run(loop); });
}

ManagerDouble::~ManagerDouble()
{
   auto* const end = g_idle_source_new();
   g_source_set_callback(end, EndLoop, loop, nullptr);
   g_source_attach(end, context);
   g_source_unref(end);
   thread.join();
   g_dbus_connection_close_sync(connection, nullptr, nullptr);
   g_object_unref(connection);
   Vanish();
   g_object_unref(bus);
   g_main_loop_unref(loop);
   g_main_context_unref(context);
}

void ManagerDouble::Vanish()
{
   if (g_test_dbus_get_bus_address(bus)) {
      g_test_dbus_stop(bus);
   }
}

void ManagerDouble::Connect()
{
   GError* error = nullptr;
   connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
   Require(connection, error);
   Serve();
}

void ManagerDouble::TakeName(char const* name)
{
   GError* error = nullptr;
   auto* const answer = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", name, 4u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      &error);
   Require(answer, error);
   g_variant_unref(answer);
}

void ManagerDouble::Serve()
{
   static GDBusInterfaceVTable const calls{OnCall, GetProperty, nullptr, {}};
   g_dbus_connection_register_object(connection, managerPath, GetInterface(managerInterface),
                                     &calls, this, nullptr, nullptr);
   for (auto const* name : {"org.freedesktop.systemd1.Unit", "org.freedesktop.systemd1.Service"}) {
      g_dbus_connection_register_object(connection, unitPath, GetInterface(name), &calls, this,
                                        nullptr, nullptr);
   }
}

void ManagerDouble::OnCall(GDBusConnection*, char const*, char const*, char const*,
                           char const* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, void* self)
{
   static_cast<ManagerDouble*>(self)->Answer(method, parameters, invocation);
}

std::string ManagerDouble::Note(char const* method, GVariant* parameters)
{
   std::string line = method;
   std::string unit;
   for (std::size_t i = 0; i < g_variant_n_children(parameters); ++i) {
      char const* text = nullptr;
      g_variant_get_child(parameters, i, "&s", &text);
      unit = i == 0 ? text : unit;
      line += std::string(" ") + text;
   }
   std::lock_guard const lock(mutex);
   calls.push_back(line);
   return unit;
}

void ManagerDouble::Answer(char const* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation)
{
   auto const unit = Note(method, parameters);
   std::string const name = method;
   std::unique_lock lock(mutex);
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
         connection, nullptr, managerPath, managerInterface, "JobRemoved",
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
   std::lock_guard const lock(mutex);
   results[unit] = result;
}

std::vector<std::string> ManagerDouble::GetCalls() const
{
   std::lock_guard const lock(mutex);
   return calls;
}

} // namespace vnet::process
