// SPDX-License-Identifier: GPL-2.0-or-later
// What changes on the host, as it happens.
#pragma once

#include "base/fileDescriptor.hh"
#include "vnet/host/addresses.hh"

#include "vnet/host/links.hh"
#include "vnet/host/routes.hh"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct nlmsghdr;

namespace vnet::host {

struct LinkChanged {
   Link link;
   bool removed = false;
};

struct AddressChanged {
   InterfaceAddress address;
   bool removed = false;
};

struct RouteChanged {
   Route route;
   bool removed = false;
};

// One transaction changed a table of nftables.
struct RulesetChanged {
   unsigned char family = 0; // NFPROTO_
   std::string table;
   bool removed = false;      // the table is gone
   std::uint32_t process = 0; // pid of who did it, as the first process namespace numbers it
};

// The process of a RulesetChanged that is our own doing. In a container, or a sandbox, it isn't
// what getpid says. Throws Error.
std::uint32_t FindOwnProcess();

// More happened than the kernel kept: look at everything again.
struct EventsLost {};

using Event = std::variant<LinkChanged, AddressChanged, RouteChanged, RulesetChanged, EventsLost>;

// Listens from its construction on, in the network namespace of the thread that made it. No timer
// and no thread: poll the descriptor for input, then Read.
class Events {
public:
   // Throws Error.
   Events();

   int GetDescriptor() const { return poller.Get(); }
   // All that came since the last call, in order per subject; empty if nothing did. Doesn't block.
   std::vector<Event> Read();

private:
   base::FileDescriptor routes;
   base::FileDescriptor rules;
   base::FileDescriptor poller;
   std::vector<RulesetChanged> transaction; // not yet closed by its generation message

   bool Receive(base::FileDescriptor const& from, std::vector<Event>& events);
   void Decode(std::string_view datagram, bool isRoute, std::vector<Event>& events);
   void DecodeRules(nlmsghdr const* message, std::vector<Event>& events);
   void NoteTable(RulesetChanged const& changed);
};

} // namespace vnet::host
