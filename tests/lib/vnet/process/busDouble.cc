// SPDX-License-Identifier: GPL-2.0-or-later
#include "lib/vnet/process/busDouble.hh"

#include <stdexcept>

namespace vnet::process {

namespace {

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

BusDouble::BusDouble()
   : context(g_main_context_new()), loop(g_main_loop_new(context, FALSE)),
     bus(g_test_dbus_new(G_TEST_DBUS_NONE))
{
   g_test_dbus_up(bus);
   address = g_test_dbus_get_bus_address(bus);
   GError* error = nullptr;
   connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
   Require(connection, error);
}

BusDouble::~BusDouble()
{
   g_dbus_connection_close_sync(connection, nullptr, nullptr);
   g_object_unref(connection);
   Vanish();
   g_object_unref(bus);
   g_main_loop_unref(loop);
   g_main_context_unref(context);
}

void BusDouble::Start(char const* name)
{
   TakeName(name);
   thread = std::thread([this] { g_main_loop_run(loop); });
}

void BusDouble::Stop()
{
   auto* const end = g_idle_source_new();
   g_source_set_callback(end, EndLoop, loop, nullptr);
   g_source_attach(end, context);
   g_source_unref(end);
   thread.join();
}

void BusDouble::Vanish()
{
   if (g_test_dbus_get_bus_address(bus)) {
      g_test_dbus_stop(bus);
   }
}

void BusDouble::TakeName(char const* name)
{
   GError* error = nullptr;
   auto* const answer = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", name, 4u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      &error);
   Require(answer, error);
   g_variant_unref(answer);
}

// What is called is answered by the context that is the thread's now.
void BusDouble::Serve(char const* path, GDBusInterfaceInfo* interface,
                      GDBusInterfaceGetPropertyFunc read)
{
   GDBusInterfaceVTable const functions{OnCall, read, nullptr, {}};
   g_main_context_push_thread_default(context);
   g_dbus_connection_register_object(connection, path, interface, &functions, this, nullptr,
                                     nullptr);
   g_main_context_pop_thread_default(context);
}

void BusDouble::OnCall(GDBusConnection*, char const*, char const*, char const*, char const* method,
                       GVariant* parameters, GDBusMethodInvocation* invocation, void* self)
{
   auto* const service = static_cast<BusDouble*>(self);
   service->Note(method, parameters);
   service->Answer(method, parameters, invocation);
}

void BusDouble::Note(char const* method, GVariant* parameters)
{
   std::string line = method;
   for (auto const& text : GetTexts(parameters)) {
      line += " " + text;
   }
   std::lock_guard const lock(mutex);
   calls.push_back(line);
}

std::vector<std::string> BusDouble::GetCalls() const
{
   std::lock_guard const lock(mutex);
   return calls;
}

std::vector<std::string> GetTexts(GVariant* parameters)
{
   std::vector<std::string> texts;
   for (std::size_t i = 0; i < g_variant_n_children(parameters); ++i) {
      char const* text = nullptr;
      g_variant_get_child(parameters, i, "&s", &text);
      texts.emplace_back(text);
   }
   return texts;
}

} // namespace vnet::process
