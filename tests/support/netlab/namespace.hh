// SPDX-License-Identifier: GPL-2.0-or-later
// A network namespace: a host, a guest, a router or a wire's other end.
#pragma once

#include "base/fileDescriptor.hh"
#include "vnet/host/macAddress.hh"

#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace netlab {

// Lives as long as the object, and on while sockets or processes are in it. lo is up, and IPv6
// addresses are usable at once (no duplicate address detection).
class Namespace {
public:
   // A new one. Where there is no laboratory it is empty and good for nothing, so that it may be a
   // member of a test that is skipped.
   Namespace();
   // The one in which the calling thread is.
   static Namespace TakeCurrent();

   // Calls `work` on a thread of its own inside, waits for it, and hands back what it returns or
   // throws. Sockets that it makes stay of this namespace wherever they are used.
   template <class Work>
   auto Run(Work work) const
   {
      std::packaged_task<std::invoke_result_t<Work>()> task(std::move(work));
      auto result = task.get_future();
      std::thread([&] {
         Enter();
         task();
      }).join();
      return result.get();
   }
   // Runs a program inside: words with spaces between, no quoting. Returns its output. Throws
   // std::runtime_error with the output if it fails.
   std::string Command(std::string const& command) const;
   std::string Command(std::vector<std::string> const& arguments) const;

   // For `ip link ... netns`.
   std::string GetPath() const;
   vnet::host::MacAddress GetMac(std::string const& device) const;
   // An address of IPv4, and the device up.
   void AddAddress(std::string const& device, std::string const& addressAndLength) const;

private:
   explicit Namespace(base::FileDescriptor ofNamespace);

   base::FileDescriptor descriptor;

   void Enter() const;
   void Prepare() const;
};

// A cable: a pair of veth devices, both up.
void Connect(Namespace const& one, std::string const& device, Namespace const& other,
             std::string const& otherDevice);

// A network with a switch of its own, to plug hosts into.
class Lan {
public:
   Lan();

   // Gives the host a device of this name, up, with its cable in the switch. Returns the name of
   // the switch's port.
   std::string Plug(Namespace const& host, std::string const& device);
   // Where the switch is: a bridge called "switch" that learns, without addresses.
   Namespace const& GetSwitch() const { return place; }

private:
   Namespace place;
   int ports = 0;
};

} // namespace netlab
