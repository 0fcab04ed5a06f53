// SPDX-License-Identifier: GPL-2.0-or-later
// A double of a service on D-Bus.
#pragma once

#include <gio/gio.h>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vnet::process {

// Answers in a thread of its own on a bus of its own, from Start to Stop. Whoever derives from it
// calls both.
class BusDouble {
public:
   std::string const& GetAddress() const { return address; }
   // What was called: "StartUnit tavrin.service replace", ..., in order.
   std::vector<std::string> GetCalls() const;
   // The bus ends, and with it all that is on it.
   void Vanish();

protected:
   BusDouble();
   virtual ~BusDouble();
   BusDouble(BusDouble const&) = delete;
   BusDouble& operator=(BusDouble const&) = delete;

   void Start(char const* name);
   void Stop();
   void TakeName(char const* name);
   // Before Start: what it has at the path.
   void Serve(char const* path, GDBusInterfaceInfo* interface,
              GDBusInterfaceGetPropertyFunc read = {});
   virtual void Answer(std::string const& method, GVariant* parameters,
                       GDBusMethodInvocation* invocation) = 0;

   GDBusConnection* GetConnection() const { return connection; }
   // Guards what both threads use.
   std::mutex& GetMutex() const { return mutex; }

private:
   std::string address;
   GMainContext* context;
   GMainLoop* loop;
   GTestDBus* bus;
   GDBusConnection* connection = nullptr;
   mutable std::mutex mutex;
   std::vector<std::string> calls;
   std::thread thread;

   void Note(char const* method, GVariant* parameters);
   static void OnCall(GDBusConnection*, char const*, char const*, char const*, char const* method,
                      GVariant* parameters, GDBusMethodInvocation* invocation, void* self);
};

// The texts among a call's parameters.
std::vector<std::string> GetTexts(GVariant* parameters);

} // namespace vnet::process
