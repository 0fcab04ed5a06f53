// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/systemBus.hh"

namespace vnet::process {

namespace {

constexpr char busName[] = "org.freedesktop.DBus";
constexpr char busPath[] = "/org/freedesktop/DBus";

[[noreturn]] void Throw(GError* error)
{
   char* const name = g_dbus_error_get_remote_error(error);
   std::string const nameText = name ? name : "";
   g_free(name);
   g_dbus_error_strip_remote_error(error);
   std::string const text = error->message;
   g_error_free(error);
   throw Refusal(text, nameText);
}

int EndWait(void* over)
{
   *static_cast<bool*>(over) = true;
   return G_SOURCE_REMOVE;
}

struct Connecting {
   bool over = false;
   GDBusConnection* connection = nullptr;
   GError* error = nullptr;
};

void OnConnected(GObject*, GAsyncResult* result, void* data)
{
   auto* const attempt = static_cast<Connecting*>(data);
   attempt->connection = g_dbus_connection_new_for_address_finish(result, &attempt->error);
   attempt->over = true;
}

} // namespace

SystemBus::Deadline::Deadline(SystemBus const& bus)
   : source(g_timeout_source_new(static_cast<unsigned int>(bus.patience.count())))
{
   g_source_set_callback(source, EndWait, &over, nullptr);
   g_source_attach(source, bus.context.get());
}

SystemBus::Deadline::~Deadline()
{
   g_source_destroy(source);
   g_source_unref(source);
}

SystemBus::SystemBus(std::string const& address, std::chrono::milliseconds patienceOfCaller)
   : context(g_main_context_new()), patience(patienceOfCaller)
{
   // Signals go to the context that is the thread's when they are subscribed to.
   g_main_context_push_thread_default(context.get());
   try {
      Connect(address);
   } catch (...) {
      End();
      throw;
   }
}

SystemBus::~SystemBus()
{
   End();
}

void SystemBus::End()
{
   if (connection) {
      for (auto const subscription : subscriptions) {
         g_dbus_connection_signal_unsubscribe(connection, subscription);
      }
      g_dbus_connection_close_sync(connection, nullptr, nullptr);
      g_object_unref(connection);
   }
   // What is still on its way is let go here.
   while (g_main_context_iteration(context.get(), FALSE)) {
   }
   g_main_context_pop_thread_default(context.get());
}

void SystemBus::Connect(std::string const& address)
{
   constexpr int flags = G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
   Connecting attempt;
   auto* const cancellable = g_cancellable_new();
   g_dbus_connection_new_for_address(address.c_str(), static_cast<GDBusConnectionFlags>(flags),
                                     nullptr, cancellable, OnConnected, &attempt);
   bool const inTime = TakeIn([&] { return attempt.over; });
   g_cancellable_cancel(cancellable);
   while (!attempt.over) {
      g_main_context_iteration(context.get(), TRUE);
   }
   g_object_unref(cancellable);
   connection = attempt.connection;
   if (!connection && inTime) {
      Throw(attempt.error);
   }
   if (!connection) {
      g_clear_error(&attempt.error);
      throw Refusal("the system's bus didn't answer in time");
   }
}

SystemBus::Value SystemBus::Call(std::string const& destination, std::string const& object,
                                 char const* interface, char const* method, GVariant* parameters,
                                 char const* answerType)
{
   GError* error = nullptr;
   Value answer(g_dbus_connection_call_sync(
      connection, destination.c_str(), object.c_str(), interface, method, parameters,
      G_VARIANT_TYPE(answerType), G_DBUS_CALL_FLAGS_NO_AUTO_START,
      static_cast<int>(patience.count()), nullptr, &error));
   if (!answer) {
      Throw(error);
   }
   return answer;
}

std::string SystemBus::FindOwner(char const* name)
{
   try {
      auto const answer =
         Call(busName, busPath, busName, "GetNameOwner", g_variant_new("(s)", name), "(s)");
      char const* owner = nullptr;
      g_variant_get(answer.get(), "(&s)", &owner);
      return owner;
   } catch (Refusal const& refusal) {
      if (refusal.name != "org.freedesktop.DBus.Error.NameHasNoOwner") {
         throw;
      }
   }
   return {};
}

pid_t SystemBus::GetProcess(std::string const& owner)
{
   auto const answer = Call(busName, busPath, busName, "GetConnectionUnixProcessID",
                            g_variant_new("(s)", owner.c_str()), "(u)");
   guint32 process = 0;
   g_variant_get(answer.get(), "(u)", &process);
   return static_cast<pid_t>(process);
}

void SystemBus::Listen(std::string const& sender, char const* interface, char const* signal,
                       char const* firstArgument, GDBusSignalCallback heard, void* data)
{
   subscriptions.push_back(g_dbus_connection_signal_subscribe(
      connection, sender.c_str(), interface, signal, nullptr, firstArgument,
      G_DBUS_SIGNAL_FLAGS_NONE, heard, data, nullptr));
}

void SystemBus::ListenForOwner(char const* name, GDBusSignalCallback heard, void* data)
{
   Listen(busName, busName, "NameOwnerChanged", name, heard, data);
}

} // namespace vnet::process
