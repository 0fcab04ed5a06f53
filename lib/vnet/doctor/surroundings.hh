// SPDX-License-Identifier: GPL-2.0-or-later
// The host as it was when the examination began.
#pragma once

#include "vnet/host/addresses.hh"
#include "vnet/host/links.hh"
#include "vnet/host/routes.hh"
#include "vnet/host/sockets.hh"

#include <string>
#include <vector>

namespace vnet::doctor {

// Where it is read from. Tests put folders of theirs in these places.
struct SystemRoots {
   std::string sys = "/sys"; // sysfs, with securityfs and cgroup2 where they always are
   std::string switches = "/proc/sys/net";
};

struct Surroundings {
   SystemRoots roots;
   std::vector<host::Link> links;
   std::vector<host::InterfaceAddress> addresses;
   std::vector<host::Route> routes; // of IPv4, of all tables
   std::vector<host::Socket> sockets;
   std::string wayOut; // the device of the default route; empty if there is none

   // Null if there is none.
   host::Link const* FindLink(int index) const;
   host::Link const* FindLink(std::string const& name) const;
};

// What can't be read goes into complaints, and counts as not there. Throws Error if there are no
// links to be had.
Surroundings LookAround(SystemRoots const& roots, std::vector<std::string>& complaints);

} // namespace vnet::doctor
