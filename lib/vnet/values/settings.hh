// SPDX-License-Identifier: GPL-2.0-or-later
// What the database says, parsed.
#pragma once

#include "vnet/values/address.hh"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vnet {

// Indices run from 0 to this less one.
inline constexpr unsigned int maxNetworks = 256;

// "tvnet" and the index: the network's key, and the name of its bridge.
std::string GetNetworkName(unsigned int index);
// The index of "tvnet0" to "tvnet255", written without leading zeros; empty for any other text.
std::optional<unsigned int> ParseNetworkName(std::string_view name);

struct PortForward {
   bool tcp = true; // else UDP
   std::uint16_t hostPort = 0;
   Address address; // of the virtual machine
   std::uint16_t vmPort = 0;
   std::string description; // UTF-8 without control characters; goes into no configuration

   auto operator<=>(PortForward const&) const = default;
};

// Values that were never set stand at their defaults.
struct NatSettings {
   std::optional<Address> gateway; // empty: the subnet's default one
   std::uint16_t configPort = 0;
   bool allowActiveFtp = true;
   bool allowAnyOui = true;
   std::uint32_t udpTimeout = 30; // seconds; 0 is as good as 1
   bool enableIpv6 = false;
   std::optional<Prefix6> ipv6Prefix;
   std::vector<PortForward> forwards; // by protocol, TCP first, then host port

   bool operator==(NatSettings const&) const = default;
};

struct DhcpSettings {
   std::optional<Address> rangeBegin;
   std::optional<Address> rangeEnd;
   std::uint32_t defaultLease = 1800; // seconds
   std::uint32_t maxLease = 7200;     // seconds
   std::optional<Address> netbiosServer;
   std::optional<Address> router;
   std::optional<Address> dnsServer;

   bool operator==(DhcpSettings const&) const = default;
};

struct NetworkSettings {
   std::string displayName; // UTF-8 without control characters; goes into no configuration
   std::optional<Address> subnetAddress;
   std::optional<Address> subnetMask; // contiguous
   std::optional<std::uint32_t> mtu;  // 68 to 9194
   bool useAdapter = false;           // the host has a virtual adapter
   bool useDhcp = false;
   bool useNat = false;
   NatSettings nat;
   DhcpSettings dhcp;

   // NAT or host-only, as opposed to bridged or not there.
   bool IsHosted() const { return subnetAddress || useAdapter || useDhcp || useNat; }
   // The subnet, if address and mask make one.
   std::optional<Subnet> GetSubnet() const;

   bool operator==(NetworkSettings const&) const = default;
};

// The whole database.
struct Settings {
   std::map<unsigned int, NetworkSettings> networks;
   // The network that bridges automatically.
   std::optional<unsigned int> automatic;
   // Host adapters by device name, each with the network that it is bridged to.
   std::map<std::string, unsigned int> adapters;

   bool operator==(Settings const&) const = default;
};

} // namespace vnet
