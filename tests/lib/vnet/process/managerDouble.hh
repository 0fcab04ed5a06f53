// SPDX-License-Identifier: GPL-2.0-or-later
// A double of systemd's manager on D-Bus.
#pragma once

#include <gio/gio.h>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vnet::process {

// Answers in a thread of its own on a bus of its own.
class ManagerDouble {
public:
   // By default under the manager's name.
   explicit ManagerDouble(char const* name = managerName);
   ~ManagerDouble();

   std::string const& GetAddress() const { return address; }
   // Answers so from now on. Results of jobs are by the unit's name; without one it is "done". With
   // "never" the job doesn't end, with "refused" there is none, with "unknown" no such unit.
   void SetResult(std::string const& unit, std::string const& result);
   // "StartUnit tavrin.service replace", ..., in order.
   std::vector<std::string> GetCalls() const;
   // From now on it has the manager's name as well.
   void TakeName() { TakeName(managerName); }
   // The bus ends, and with it all that is on it.
   void Vanish();

private:
   std::string address;
   GMainContext* context;
   GMainLoop* loop;
   GTestDBus* bus;
   GDBusConnection* connection = nullptr;
   mutable std::mutex mutex;
   std::map<std::string, std::string> results;
   std::vector<std::string> calls;
   unsigned int jobs = 0;
   std::thread thread;

   static constexpr char managerName[] = "org.freedesktop.systemd1";

   void Connect();
   void TakeName(char const* name);
   void Serve();
   std::string Note(char const* method, GVariant* parameters);
   void Answer(char const* method, GVariant* parameters, GDBusMethodInvocation* invocation);
   void AnswerJob(std::string const& unit, std::string const& result,
                  GDBusMethodInvocation* invocation);

   static void OnCall(GDBusConnection*, char const*, char const*, char const*, char const* method,
                      GVariant* parameters, GDBusMethodInvocation* invocation, void* self);
};

} // namespace vnet::process
