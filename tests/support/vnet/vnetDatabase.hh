// SPDX-License-Identifier: GPL-2.0-or-later
// The networks and adapters that the double of the networking library answers from.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace test {

struct VnetForward {
   bool tcp = true;
   std::uint16_t hostPort = 0;
   std::string address;
   std::uint16_t vmPort = 0;
   std::string description;

   bool operator==(VnetForward const&) const = default;
};

// One network, and what runs of it on the pretended host.
struct VnetNetwork {
   std::string subnetAddress;
   std::string subnetMask;
   std::string displayName;
   std::optional<std::uint32_t> mtu;
   bool useAdapter = false;
   bool useDHCP = false;
   bool useNAT = false;
   std::map<std::uint32_t, std::string> natParams;
   std::map<std::uint32_t, std::string> dhcpParams;
   std::vector<VnetForward> tcpForwards; // by host port
   std::vector<VnetForward> udpForwards; // by host port

   // The mask came with a subnet of the library's choice.
   bool isMaskAssigned = false;
   bool adapterEnabled = false;
   std::set<std::uint32_t> services; // running

   // NAT or host-only.
   bool IsHosted() const { return !subnetAddress.empty() || useAdapter || useDHCP || useNAT; }
   std::vector<VnetForward>& GetForwards(bool tcp) { return tcp ? tcpForwards : udpForwards; }
   // Adds the forward or replaces the one of its protocol and host port.
   void PutForward(VnetForward const& forward);
   // False if there is none.
   bool RemoveForward(bool tcp, std::uint16_t hostPort);

   bool operator==(VnetNetwork const&) const = default;
};

struct VnetAdapter {
   std::string name;
   int vnet = -1; // -1: bridged to none

   bool operator==(VnetAdapter const&) const = default;
};

// The text form has one value a line, "#" starting a comment line:
//
//    exists=true                              likewise readable, loadable
//    vnets=256
//    automatic=0                              -1: none
//    adapter=eth0 0                           -1: bridged to none
//    network=8 nat dhcp adapter 192.168.8.0 255.255.255.0
//    name=8 Any text
//    mtu=8 1500
//    nat=8 0x2343 192.168.8.2
//    dhcp=8 0x3426 192.168.8.128
//    forward=8 tcp 8080 192.168.8.128 80 any text
//
// All words of "network" may be left out; a network without any is a bridged one.
struct VnetDatabase {
   bool exists = true;
   bool readable = true;
   bool loadable = true;
   std::uint32_t numberOfVnets = 256;
   int automatic = -1; // -1: none
   std::vector<VnetAdapter> adapters;
   std::map<unsigned int, VnetNetwork> networks;

   // Networks 0 (automatic, with both adapters), 1 (host-only) and 8 (NAT, no forwards).
   static VnetDatabase MakeDefault();
   // What runs isn't in the text. Throws std::invalid_argument naming the line it can't read.
   static VnetDatabase Parse(std::string const& text);
   std::string ToText() const;

   bool operator==(VnetDatabase const&) const = default;
};

} // namespace test
