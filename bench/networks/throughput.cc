// SPDX-License-Identifier: GPL-2.0-or-later
#include "networks/throughput.hh"

#include "networks/results.hh"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t port = 5001;
constexpr std::chrono::milliseconds start(10);
constexpr std::chrono::milliseconds stretch(40);
constexpr std::size_t piece = 128 << 10;

// One for all roads: where it lies in the processor's caches makes a difference of some per cent.
std::vector<char> const data(piece);

} // namespace

Road::Road(netlab::Namespace const& guest, netlab::Namespace const& sink,
           std::string const& address)
   : from(guest), target{address, port}, server(sink, port, [this](int socket) { Swallow(socket); })
{}

void Road::Swallow(int socket)
{
   std::vector<char> buffer(piece);
   for (ssize_t length; (length = recv(socket, buffer.data(), buffer.size(), 0)) > 0;) {
      received += static_cast<std::uint64_t>(length);
   }
}

double Road::Send(int socket, std::chrono::milliseconds time) const
{
   auto const before = received.load();
   auto const begin = Clock::now();
   while (Clock::now() - begin < time) {
      if (send(socket, data.data(), data.size(), MSG_NOSIGNAL) < 0) {
         throw std::runtime_error("send to " + target.address + ": the connection is cut");
      }
   }
   std::chrono::duration<double> const taken = Clock::now() - begin;
   return static_cast<double>(received - before) / taken.count();
}

double Road::Measure()
{
   auto const connection = netlab::ConnectTcp(from, target);
   if (!connection) {
      throw std::runtime_error("connect to " + target.address + ": nobody answers");
   }
   // Every kernel has it, and it doesn't measure the road to pace itself, as others do.
   setsockopt(connection->Get(), IPPROTO_TCP, TCP_CONGESTION, "reno", 4);
   Send(connection->Get(), start);
   return Send(connection->Get(), stretch);
}

Comparison Compare(Road& ours, Road& floor, unsigned int rounds)
{
   std::vector<double> ofOurs, ofFloor, ratios;
   for (unsigned int round = 0; round < rounds; ++round) {
      // Whoever comes second may find the processor warm, or another's work on it.
      bool const first = round % 2 == 0;
      double const one = (first ? ours : floor).Measure();
      double const other = (first ? floor : ours).Measure();
      ofOurs.push_back(first ? one : other);
      ofFloor.push_back(first ? other : one);
      ratios.push_back(ofOurs.back() / ofFloor.back());
   }
   return {GetMedian(ofOurs), GetMedian(ofFloor), GetMedian(ratios)};
}

} // namespace bench
