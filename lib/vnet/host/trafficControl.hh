// SPDX-License-Identifier: GPL-2.0-or-later
// Traffic control filters on a device's way in.
#pragma once

#include <cstdint>
#include <vector>

namespace vnet::host {

class RouteSocket;
struct Link;

// A filter that hands every arriving frame to another device, as though it had arrived there.
struct RedirectFilter {
   std::uint16_t priority = 0;
   int target = 0; // index of the device

   bool operator==(RedirectFilter const&) const = default;
};

// Every failure throws Error.
class TrafficControl {
public:
   explicit TrafficControl(RouteSocket& socketOfCaller) : socket(socketOfCaller) {}

   // Hands all that arrives at `from` to the way in of `to`. `from` is the caller's own: another
   // filter of this priority is replaced. Setting what is set changes nothing.
   void RedirectArriving(Link const& from, Link const& to, std::uint16_t priority);
   // The redirecting filters on the way in.
   std::vector<RedirectFilter> List(Link const& link);

private:
   RouteSocket& socket;

   void AddHook(Link const& link);
   void Remove(Link const& link, std::uint16_t priority);
};

} // namespace vnet::host
