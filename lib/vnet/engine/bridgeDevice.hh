// SPDX-License-Identifier: GPL-2.0-or-later
// The bridge of a network.
#pragma once

#include "vnet/services/wanted.hh"

#include <string>
#include <vector>

namespace vnet::engine {

struct Device;
struct Host;

// A device of this name that isn't ours is never touched. Every failure throws Error.
class BridgeDevice {
public:
   BridgeDevice(Host& hostOfCaller, services::WantedBridge bridge);

   // Null if it isn't there, or isn't ours. Valid until the view is refreshed.
   Device const* Find() const;
   // Whether someone else's device has the name.
   bool IsForeign() const;
   // What is plugged in beside what joins it to an adapter: virtual machines.
   std::vector<std::string> ListPlugged() const;

   std::vector<std::string> Compare() const;
   // Makes it, or puts right what differs.
   void Apply();
   void Remove();

private:
   Host& host;
   services::WantedBridge wanted;

   bool IsHalfMade(Device const& device) const;
};

} // namespace vnet::engine
