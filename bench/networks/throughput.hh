// SPDX-License-Identifier: GPL-2.0-or-later
// How fast TCP is on the way of a guest.
#pragma once

#include "support/netlab/tcp.hh"

#include <atomic>
#include <cstdint>
#include <string>

namespace bench {

// From a guest to somebody who swallows everything.
class Road {
public:
   // `address` is the sink's.
   Road(netlab::Namespace const& guest, netlab::Namespace const& sink, std::string const& address);

   // Bytes a second, by a connection of its own, once that has come into its stride. Throws
   // std::runtime_error if there is none.
   double Measure();

private:
   netlab::Namespace const& from;
   netlab::Endpoint const target;
   std::atomic<std::uint64_t> received{0};
   netlab::TcpServer server;

   void Swallow(int socket);
   // Sends for so long, and returns how many bytes a second came.
   double Send(int socket, std::chrono::milliseconds time) const;
};

// Medians of many short rounds, in which each takes its turn.
struct Comparison {
   double ours = 0; // bytes a second
   double floor = 0;
   double ratio = 0; // of the two in one round
};
Comparison Compare(Road& ours, Road& floor, unsigned int rounds);

} // namespace bench
