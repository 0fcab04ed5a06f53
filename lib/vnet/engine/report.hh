// SPDX-License-Identifier: GPL-2.0-or-later
// How a network stands on the host.
#pragma once

#include "vnet/services/wanted.hh"

#include <optional>
#include <string>
#include <vector>

namespace vnet::engine {

enum class State {
   Absent,  // nothing of it is on the host
   Running, // as wanted, or but for what `differences` tell
   Stopped, // its bridge is left, as something is plugged in
   Foreign  // someone else's device has the bridge's name
};

// What a table of others drops that a network lives on.
struct Obstacle {
   std::string need; // "let guests of tvnet8 out by eth0"
   std::string family;
   std::string table;
   std::string chain;
   std::string owner;  // "Docker", "ufw" or "firewalld"; empty if the table's maker isn't known
   std::string advice; // the command that helps

   // With action, object, cause and what helps.
   std::string ToString() const;
   bool operator==(Obstacle const&) const = default;
};

struct Report {
   State state = State::Absent;
   services::Kind kind = services::Kind::Absent; // as the database wants it
   std::optional<Subnet> subnet;                 // as the database wants it
   bool wantsDnsmasq = false;
   bool dnsmasqRuns = false;
   std::vector<std::string> adapters; // host adapters that are joined to the bridge now
   std::vector<std::string> plugged;  // other ports of the bridge: virtual machines
   // What isn't as wanted, each with its object: "rules", "address 192.168.8.1/24", ...
   std::vector<std::string> differences;
   // What the database asks for and the network can't have, and what the user should know.
   std::vector<std::string> remarks;
   std::vector<Obstacle> obstacles; // of a network that runs
};

} // namespace vnet::engine
