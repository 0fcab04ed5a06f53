// SPDX-License-Identifier: GPL-2.0-or-later
// UDP traffic that counts what is lost.
#pragma once

#include "support/netlab/endpoint.hh"
#include "support/netlab/worker.hh"
#include "support/testProcess.hh"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace netlab {

// Answers every datagram with itself, from the address at which it came.
class UdpEcho {
public:
   // Hears only what arrives at the device, if one is named.
   UdpEcho(Namespace const& place, std::uint16_t port, std::string const& device = "");

   // Who sent, each once, in order of their first datagram.
   std::vector<Endpoint> GetPeers() const;
   std::size_t GetCount() const;
   // Waits until `count` datagrams came in all.
   bool WaitFor(std::size_t count, test::Milliseconds deadline = test::patience) const;

private:
   base::FileDescriptor socket;
   mutable std::mutex mutex;
   mutable std::condition_variable arrived;
   std::vector<Endpoint> peers;
   std::size_t count = 0;
   Worker worker;

   void Answer();
   void Note(Endpoint const& peer);
};

// Sends one text and waits for one answer. Empty if none came.
std::optional<std::string> AskUdp(Namespace const& place, Endpoint const& target,
                                  std::string const& text,
                                  test::Milliseconds deadline = test::patience);

struct FlowReport {
   std::size_t sent = 0;
   std::size_t received = 0; // different ones
   std::size_t duplicates = 0;
   // Between two answers one after the other, and before the first.
   std::chrono::milliseconds longestGap{0};

   std::size_t GetLost() const { return sent - received; }
};

// One flow of numbered datagrams, from one socket, sent at a steady pace to something that echoes.
class UdpFlow {
public:
   // A datagram each `interval` milliseconds, from now on; fewer while the answers lag behind.
   UdpFlow(Namespace const& place, Endpoint const& target, int interval = 2);

   // Waits until `count` more answers came than at the moment of the call.
   bool WaitForMore(std::size_t count, test::Milliseconds deadline = test::patience) const;
   // Waits until no answer came for `quiet`, while datagrams go on being sent: what was under way
   // when its road ended may still arrive. False if answers go on until the deadline.
   bool WaitForSilence(test::Milliseconds quiet,
                       test::Milliseconds deadline = test::patience) const;
   // Sends no more, waits until all was answered or nothing came for `quiet`, and reports.
   FlowReport Finish(std::chrono::milliseconds quiet = std::chrono::milliseconds(500));
   FlowReport GetReport() const;

private:
   using Clock = std::chrono::steady_clock;

   SocketAddress target;
   base::FileDescriptor socket;
   mutable std::mutex mutex;
   mutable std::condition_variable arrived;
   std::map<std::uint32_t, unsigned int> answers; // how often, by number
   std::uint32_t sent = 0;
   bool finishing = false;
   Clock::time_point last = Clock::now();
   Clock::time_point lastSent;
   Clock::duration longest{0};
   Worker worker;

   void Send();
   bool IsLagging() const;
   void Receive();
   FlowReport MakeReport() const;
};

} // namespace netlab
