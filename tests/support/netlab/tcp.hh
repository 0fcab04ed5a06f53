// SPDX-License-Identifier: GPL-2.0-or-later
// TCP traffic.
#pragma once

#include "support/netlab/endpoint.hh"
#include "support/netlab/worker.hh"
#include "support/testProcess.hh"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace netlab {

// Serves every connection to a port on a thread of its own.
class TcpServer {
public:
   TcpServer(Namespace const& place, std::uint16_t port, std::function<void(int socket)> serve);
   ~TcpServer();

   // Who connected, in order.
   std::vector<Endpoint> GetPeers() const;

private:
   base::FileDescriptor listener;
   std::function<void(int socket)> serve;
   mutable std::mutex mutex;
   std::vector<Endpoint> peers;
   std::vector<base::FileDescriptor> connections;
   std::vector<std::thread> threads;
   std::optional<Worker> worker;

   void Accept();
};

// Answers what it gets with the same.
class TcpEcho : public TcpServer {
public:
   TcpEcho(Namespace const& place, std::uint16_t port);
};

// Sends without end to whoever connects.
class TcpSource : public TcpServer {
public:
   TcpSource(Namespace const& place, std::uint16_t port);
};

// A connection, or empty if it was refused or didn't come about.
std::optional<base::FileDescriptor> ConnectTcp(Namespace const& place, Endpoint const& target,
                                               test::Milliseconds deadline = test::patience);

// Connects, sends the text and reads as much again. Empty if anything fails.
std::optional<std::string> AskTcp(Namespace const& place, Endpoint const& target,
                                  std::string const& text,
                                  test::Milliseconds deadline = test::patience);

// A download from a TcpSource that goes on while the test does other things.
class TcpDownload {
public:
   // Throws std::runtime_error if there is no connection by the deadline.
   TcpDownload(Namespace const& place, Endpoint const& source,
               test::Milliseconds deadline = test::patience);
   ~TcpDownload();

   std::uint64_t GetBytes() const;
   // Between two pieces one after the other.
   std::chrono::milliseconds GetLongestGap() const;
   // Whether it was cut: reset, closed or refused.
   bool IsCut() const;
   // Waits until so many more bytes came than at the moment of the call. False if it was cut, or at
   // the deadline.
   bool WaitForMore(std::uint64_t bytes, test::Milliseconds deadline = test::patience) const;

private:
   using Clock = std::chrono::steady_clock;

   base::FileDescriptor socket;
   mutable std::mutex mutex;
   mutable std::condition_variable arrived;
   std::uint64_t bytes = 0;
   Clock::time_point last = Clock::now();
   Clock::duration longest{0};
   bool cut = false;
   std::thread reader;

   void Read();
};

} // namespace netlab
