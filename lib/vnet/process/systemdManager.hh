// SPDX-License-Identifier: GPL-2.0-or-later
// One connection to systemd.
#pragma once

#include <chrono>
#include <gio/gio.h>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vnet::process {

// What systemd answered instead of doing something. Its name is one of D-Bus's, such as
// "org.freedesktop.systemd1.NoSuchUnit"; empty if nobody answered.
struct Refusal : std::runtime_error {
   explicit Refusal(std::string const& text, std::string nameOfError = {})
      : std::runtime_error(text), name(std::move(nameOfError))
   {}

   std::string name;

   bool IsNoSuchUnit() const { return name == "org.freedesktop.systemd1.NoSuchUnit"; }
};

// Every function throws Refusal. Belongs to one thread.
class SystemdManager {
public:
   // By the bus of this address. `patienceOfCaller` is for each answer.
   SystemdManager(std::string const& address, std::chrono::milliseconds patienceOfCaller);
   ~SystemdManager();
   SystemdManager(SystemdManager const&) = delete;
   SystemdManager& operator=(SystemdManager const&) = delete;

   // Carries out a job of the kind ("StartUnit", "StopUnit"), and returns how it ended: "done",
   // "failed", "timeout", ...
   std::string RunJob(char const* kind, std::string const& unit);
   // Forgets that it failed and how often it was started.
   void Reset(std::string const& unit);
   // A property of the unit, which is a text.
   std::string GetText(std::string const& unit, char const* interface, char const* property);

private:
   template <class Object, void (*release)(Object*)>
   struct Releaser {
      void operator()(Object* object) const { release(object); }
   };
   using Value = std::unique_ptr<GVariant, Releaser<GVariant, g_variant_unref>>;
   using Context = std::unique_ptr<GMainContext, Releaser<GMainContext, g_main_context_unref>>;

   Context const context; // in which signals arrive; the program's own isn't disturbed
   std::chrono::milliseconds const patience;
   GDBusConnection* connection = nullptr;
   std::string owner; // of the manager's name: what the bus calls it
   std::vector<unsigned int> subscriptions;
   std::map<std::string, std::string> ended; // jobs, and how

   void Connect(std::string const& address);
   void FindOwner();
   void Listen(std::string const& sender, char const* interface, char const* signal,
               char const* firstArgument, GDBusSignalCallback heard);
   void End();
   std::string WaitForJob(std::string const& job);
   // Takes in what comes until that is so. False at the deadline, or when the bus is gone.
   template <class Condition>
   bool TakeIn(Condition const& condition);
   // The same, and that is a Refusal.
   template <class Condition>
   void WaitUntil(Condition const& condition);
   Value Call(std::string const& destination, std::string const& object, char const* interface,
              char const* method, GVariant* parameters, char const* answerType);
   Value CallManager(char const* method, GVariant* parameters, char const* answerType);
   static void OnOwnerChanged(GDBusConnection*, char const*, char const*, char const*, char const*,
                              GVariant* parameters, void* self);
   static void OnJobRemoved(GDBusConnection*, char const*, char const*, char const*, char const*,
                            GVariant* parameters, void* self);
};

} // namespace vnet::process
