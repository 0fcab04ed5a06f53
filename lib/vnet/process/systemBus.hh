// SPDX-License-Identifier: GPL-2.0-or-later
// One connection to D-Bus.
#pragma once

#include "vnet/values/error.hh"

#include <chrono>
#include <gio/gio.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace vnet::process {

// What a service answered instead of doing something. Its name is one of D-Bus's, such as
// "org.freedesktop.systemd1.NoSuchUnit"; empty if nobody answered.
struct Refusal : std::runtime_error {
   explicit Refusal(std::string const& text, std::string nameOfError = {})
      : std::runtime_error(text), name(std::move(nameOfError))
   {}

   std::string name;
};

// Starts no service that doesn't run. Every function throws Refusal. Belongs to one thread.
class SystemBus {
public:
   struct ReleaseVariant {
      void operator()(GVariant* value) const { g_variant_unref(value); }
   };
   using Value = std::unique_ptr<GVariant, ReleaseVariant>;

   // By the bus of this address. `patienceOfCaller` is for each answer.
   SystemBus(std::string const& address, std::chrono::milliseconds patienceOfCaller);
   ~SystemBus();
   SystemBus(SystemBus const&) = delete;
   SystemBus& operator=(SystemBus const&) = delete;

   // Takes `parameters` over; null: none. `answerType` is in D-Bus's notation: "(s)".
   Value Call(std::string const& destination, std::string const& object, char const* interface,
              char const* method, GVariant* parameters, char const* answerType);
   // What the bus calls the one that has the name; empty if nobody has it.
   std::string FindOwner(char const* name);
   pid_t GetProcess(std::string const& owner);

   // Calls `heard` while a wait takes in what comes, as long as this object lives. `firstArgument`
   // null: any. Only what `sender` sent: anybody may send signals.
   void Listen(std::string const& sender, char const* interface, char const* signal,
               char const* firstArgument, GDBusSignalCallback heard, void* data);
   // The same for a name that finds or loses its owner.
   void ListenForOwner(char const* name, GDBusSignalCallback heard, void* data);
   // Takes in what comes until that is so. False at the deadline, or when the bus is gone.
   template <class Condition>
   bool TakeIn(Condition const& condition);
   bool IsClosed() const { return connection && g_dbus_connection_is_closed(connection); }

private:
   struct ReleaseContext {
      void operator()(GMainContext* context) const { g_main_context_unref(context); }
   };
   class Deadline;

   // In which signals arrive; the program's own isn't disturbed.
   std::unique_ptr<GMainContext, ReleaseContext> const context;
   std::chrono::milliseconds const patience;
   GDBusConnection* connection = nullptr;
   std::vector<unsigned int> subscriptions;

   void Connect(std::string const& address);
   void End();
};

// Wakes a wait that nobody else ends.
class SystemBus::Deadline {
public:
   explicit Deadline(SystemBus const& bus);
   ~Deadline();
   Deadline(Deadline const&) = delete;
   Deadline& operator=(Deadline const&) = delete;

   bool IsOver() const { return over; }

private:
   bool over = false;
   GSource* const source;
};

template <class Condition>
bool SystemBus::TakeIn(Condition const& condition)
{
   Deadline const deadline(*this);
   while (!deadline.IsOver() && !condition() && !IsClosed()) {
      g_main_context_iteration(context.get(), TRUE);
   }
   return condition();
}

// Does the work with a service that is made of the address and the patience, and tells a refusal of
// either as a failure to do the action with the object. Throws Error.
template <class Service, class Work>
auto Ask(std::string const& address, std::chrono::milliseconds patience, char const* action,
         std::string const& object, Work const& work)
{
   try {
      Service service(address, patience);
      return work(service);
   } catch (Refusal const& refusal) {
      throw Error(action, object, refusal.what());
   }
}

} // namespace vnet::process
