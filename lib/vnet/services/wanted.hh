// SPDX-License-Identifier: GPL-2.0-or-later
// What the host should have of one network. All of it is compared with what runs, so everything
// here has operator==, and nothing depends on the moment.
#pragma once

#include "vnet/values/address.hh"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vnet::services {

// An absent network has nothing on the host.
enum class Kind { Absent, Bridged, HostOnly, Nat };

struct WantedBridge {
   std::string name; // "tvnet8"
   std::array<std::uint8_t, 6> mac{};
   std::optional<std::uint32_t> mtu; // empty: whatever the adapter has
   std::string alias;                // by which we know our own

   bool operator==(WantedBridge const&) const = default;
};

struct WantedAddress {
   Address address;
   unsigned int prefixLength = 32;
   // RT_SCOPE_LINK instead of RT_SCOPE_UNIVERSE. The kernel keeps such an address before the others
   // of the device, whatever the order of adding, and doesn't take it as a source by itself.
   bool scopeLink = false;

   bool operator==(WantedAddress const&) const = default;
};

// To be added without duplicate address detection: on a bridge without a guest it wouldn't end, and
// a service can't be bound to an address before.
struct WantedAddress6 {
   std::string address; // as RFC 5952 writes it
   unsigned int prefixLength = 64;

   bool operator==(WantedAddress6 const&) const = default;
};

// By the bridge.
struct WantedRoute {
   Subnet destination;
   Address source; // preferred

   bool operator==(WantedRoute const&) const = default;
};

// /proc/sys/net/<family>/conf/<device>/<name>
struct WantedSysctl {
   std::string family; // "ipv4" or "ipv6"
   std::string device;
   std::string name;
   std::string value;
   // Of a device that isn't ours, or of all: the value that was there is to be kept and given back.
   bool ofHost = false;

   bool operator==(WantedSysctl const&) const = default;
};

// One that takes effect: the ruleset has it.
struct WantedForward {
   bool tcp = true; // else UDP
   std::uint16_t hostPort = 0;
   Address address;
   std::uint16_t vmPort = 0;

   auto operator<=>(WantedForward const&) const = default;
};

struct WantedDnsmasq {
   std::string configuration; // the text of configurationPath; a change needs a restart
   std::string options;       // the text of optionsPath, which is read again at SIGHUP
   std::string servers;       // likewise of serversPath
   std::string configurationPath;
   std::string optionsPath;
   std::string serversPath;
   std::string pidPath;   // dnsmasq writes it
   std::string leasePath; // dnsmasq writes it; its folder has to be there

   bool operator==(WantedDnsmasq const&) const = default;
};

struct WantedBridging {
   bool automatic = false;            // one of the adapters, chosen as the host's links change
   std::vector<std::string> adapters; // device names, sorted

   bool operator==(WantedBridging const&) const = default;
};

// To be made real in the order of the fields: the ruleset before the switches, as it guards what
// route_localnet opens; the switches before the addresses, as IPv6 may be off; the addresses before
// dnsmasq, which binds to them.
struct WantedNetwork {
   unsigned int index = 0;
   Kind kind = Kind::Absent;
   WantedBridge bridge;
   // One transaction that replaces the network's table, whatever is there.
   std::string ruleset;
   // The same while NAT is stopped and the bridge stays; empty for a network without NAT.
   std::string parkedRuleset;
   std::vector<WantedSysctl> sysctls;    // in this order
   std::vector<WantedAddress> addresses; // in this order
   std::vector<WantedAddress6> addresses6;
   std::vector<WantedRoute> routes;
   std::optional<WantedDnsmasq> dnsmasq;
   std::vector<WantedForward> forwards; // sorted
   WantedBridging bridging;

   std::optional<Subnet> subnet;
   // What the database asks for and the network can't have, each with action, object and cause.
   std::vector<std::string> remarks;

   bool operator==(WantedNetwork const&) const = default;
};

// The table of a network, of family inet: "tavrin-tvnet8".
std::string GetTableName(unsigned int index);
// The MAC address of a network's bridge, the same for every creation.
std::array<std::uint8_t, 6> GetBridgeMac(unsigned int index);
// The text that removes the table, whether it is there or not.
std::string GetRemovalRuleset(unsigned int index);

} // namespace vnet::services
