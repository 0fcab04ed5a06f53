// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/process/systemdManager.hh"

#include <chrono>

namespace vnet::process {

namespace {

constexpr char managerName[] = "org.freedesktop.systemd1";
constexpr char managerPath[] = "/org/freedesktop/systemd1";
constexpr char managerInterface[] = "org.freedesktop.systemd1.Manager";
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

std::string GetText(GVariant* tuple)
{
   char const* text = nullptr;
   g_variant_get_child(tuple, 0, g_variant_is_of_type(tuple, G_VARIANT_TYPE("(o)")) ? "&o" : "&s",
                       &text);
   return text;
}

// What answers a wait that nobody else ends.
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

SystemdManager::SystemdManager(std::string const& address,
                               std::chrono::milliseconds patienceOfCaller)
   : context(g_main_context_new()), patience(patienceOfCaller)
{
   // Signals go to the context that is the thread's when they are subscribed to.
   g_main_context_push_thread_default(context.get());
   try {
      Connect(address);
      FindOwner();
      Listen(owner, managerInterface, "JobRemoved", nullptr, OnJobRemoved);
      CallManager("Subscribe", nullptr, "()");
   } catch (...) {
      End();
      throw;
   }
}

SystemdManager::~SystemdManager()
{
   End();
}

void SystemdManager::End()
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

void SystemdManager::Connect(std::string const& address)
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

// At boot the manager may come to the bus a moment after us.
void SystemdManager::FindOwner()
{
   Listen(busName, busName, "NameOwnerChanged", managerName, OnOwnerChanged);
   try {
      auto const name =
         Call(busName, busPath, busName, "GetNameOwner", g_variant_new("(s)", managerName), "(s)");
      owner = process::GetText(name.get());
   } catch (Refusal const& refusal) {
      if (refusal.name != "org.freedesktop.DBus.Error.NameHasNoOwner") {
         throw;
      }
   }
   WaitUntil([this] { return !owner.empty(); });
}

// From whom the bus knows by that name alone: anybody may send signals.
void SystemdManager::Listen(std::string const& sender, char const* interface, char const* signal,
                            char const* firstArgument, GDBusSignalCallback heard)
{
   subscriptions.push_back(g_dbus_connection_signal_subscribe(
      connection, sender.c_str(), interface, signal, nullptr, firstArgument,
      G_DBUS_SIGNAL_FLAGS_NONE, heard, this, nullptr));
}

void SystemdManager::OnOwnerChanged(GDBusConnection*, char const*, char const*, char const*,
                                    char const*, GVariant* parameters, void* self)
{
   if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) {
      char const* now = nullptr;
      g_variant_get_child(parameters, 2, "&s", &now);
      static_cast<SystemdManager*>(self)->owner = now;
   }
}

void SystemdManager::OnJobRemoved(GDBusConnection*, char const*, char const*, char const*,
                                  char const*, GVariant* parameters, void* self)
{
   if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uoss)"))) {
      char const* job = nullptr;
      char const* result = nullptr;
      g_variant_get(parameters, "(u&o&s&s)", nullptr, &job, nullptr, &result);
      static_cast<SystemdManager*>(self)->ended[job] = result;
   }
}

SystemdManager::Value SystemdManager::Call(std::string const& destination,
                                           std::string const& object, char const* interface,
                                           char const* method, GVariant* parameters,
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

SystemdManager::Value SystemdManager::CallManager(char const* method, GVariant* parameters,
                                                  char const* answerType)
{
   return Call(owner, managerPath, managerInterface, method, parameters, answerType);
}

std::string SystemdManager::RunJob(char const* kind, std::string const& unit)
{
   // A job of another kind that waits gives way.
   auto const job = CallManager(kind, g_variant_new("(ss)", unit.c_str(), "replace"), "(o)");
   return WaitForJob(process::GetText(job.get()));
}

std::string SystemdManager::WaitForJob(std::string const& job)
{
   WaitUntil([&] { return ended.contains(job); });
   return ended[job];
}

template <class Condition>
bool SystemdManager::TakeIn(Condition const& condition)
{
   bool over = false;
   auto* const timeout = g_timeout_source_new(static_cast<unsigned int>(patience.count()));
   g_source_set_callback(timeout, EndWait, &over, nullptr);
   g_source_attach(timeout, context.get());
   while (!over && !condition() && !(connection && g_dbus_connection_is_closed(connection))) {
      g_main_context_iteration(context.get(), TRUE);
   }
   g_source_destroy(timeout);
   g_source_unref(timeout);
   return condition();
}

template <class Condition>
void SystemdManager::WaitUntil(Condition const& condition)
{
   if (!TakeIn(condition)) {
      throw Refusal(g_dbus_connection_is_closed(connection)
                       ? "the service manager is gone"
                       : "the service manager didn't answer in time");
   }
}

void SystemdManager::Reset(std::string const& unit)
{
   try {
      CallManager("ResetFailedUnit", g_variant_new("(s)", unit.c_str()), "()");
   } catch (Refusal const& refusal) {
      if (!refusal.IsNoSuchUnit()) {
         throw;
      }
   }
}

std::string SystemdManager::GetText(std::string const& unit, char const* interface,
                                    char const* property)
{
   auto const path = CallManager("LoadUnit", g_variant_new("(s)", unit.c_str()), "(o)");
   auto const answer = Call(owner, process::GetText(path.get()), "org.freedesktop.DBus.Properties",
                            "Get", g_variant_new("(ss)", interface, property), "(v)");
   GVariant* inner = nullptr;
   g_variant_get(answer.get(), "(v)", &inner);
   Value const value(inner);
   return g_variant_is_of_type(inner, G_VARIANT_TYPE_STRING) ? g_variant_get_string(inner, nullptr)
                                                             : "";
}

} // namespace vnet::process
