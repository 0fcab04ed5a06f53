// SPDX-License-Identifier: GPL-2.0-or-later
// Raw frames on a device.
#pragma once

#include "support/netlab/namespace.hh"
#include "support/netlab/worker.hh"
#include "support/testProcess.hh"
#include "vnet/host/macAddress.hh"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace netlab {

using vnet::host::MacAddress;
using Bytes = std::vector<std::uint8_t>;

inline constexpr MacAddress broadcastMac{{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
// For local experiments (IEEE 802, table 9-1): nobody else sends it.
inline constexpr std::uint16_t experimentType = 0x88b5;

// An Ethernet frame.
struct Frame {
   MacAddress destination;
   MacAddress source;
   std::uint16_t type = experimentType; // EtherType, host order
   Bytes payload;
   int vlan = -1;      // the tag's number, or -1
   int packetType = 0; // PACKET_ of the kernel, of received frames
   std::chrono::steady_clock::time_point time;

   std::string GetText() const { return {payload.begin(), payload.end()}; }
};

// Sees every frame that arrives at a device (in promiscuous mode, not what leaves by it), from its
// construction on, and sends frames as they are.
class PacketPort {
public:
   using Predicate = std::function<bool(Frame const&)>;

   PacketPort(Namespace const& place, std::string const& device);

   MacAddress const& GetMac() const { return mac; }
   // A short payload is filled up with zeros to the shortest frame of Ethernet.
   void Send(Frame const& frame) const;
   // A frame of experimentType from this device's address.
   void SendText(MacAddress destination, std::string const& text) const;

   // Waits until `count` frames fit. Returns whether they came.
   bool WaitFor(Predicate const& fits, std::size_t count = 1,
                test::Milliseconds deadline = test::patience) const;
   // Waits for a frame of experimentType with that text.
   bool WaitForText(std::string const& text, test::Milliseconds deadline = test::patience) const;
   // How many came so far.
   std::size_t Count(Predicate const& fits) const;
   std::size_t CountText(std::string const& text) const;
   std::vector<Frame> GetFrames() const;
   void Forget();

private:
   base::FileDescriptor socket;
   MacAddress mac;
   mutable std::mutex mutex;
   mutable std::condition_variable arrived;
   std::vector<Frame> frames;
   Worker worker; // last: ends first

   void Receive();
};

} // namespace netlab
