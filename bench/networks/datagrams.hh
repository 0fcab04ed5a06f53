// SPDX-License-Identifier: GPL-2.0-or-later
// Datagrams of a guest, as many as it gets out, each counted.
#pragma once

#include "support/netlab/endpoint.hh"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace bench {

// From construction on, one after the other. Never more are under way than the receiver's buffer
// holds, so one that doesn't come was lost on the way.
class Datagrams {
public:
   // `address` is the receiver's.
   Datagrams(netlab::Namespace const& guest, netlab::Namespace const& receiver,
             std::string const& address);
   ~Datagrams();

   // Sends no more, and returns how many were lost, once all came or none did for a while.
   std::uint64_t Finish();
   std::uint64_t GetSent() const { return sent; }

private:
   base::FileDescriptor sender;
   base::FileDescriptor receiver;
   std::atomic<bool> ending{false};
   std::atomic<bool> closing{false};
   std::atomic<std::uint64_t> sent{0};
   std::atomic<std::uint64_t> received{0};
   std::thread reading; // last: they use the rest
   std::thread sending;

   void Send();
   void Receive();
   bool AllCame() const;
};

} // namespace bench
